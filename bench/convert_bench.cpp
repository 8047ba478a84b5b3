// Conversions in memory, without a database row or a file: what a program that converts thousands pays for each, and
// how the time grows with the number of annotations and of images in one input.
#include "bench/BenchStates.h"

#include "base/Console.h"
#include "converter/PSConverter.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <list>
#include <memory>
#include <sstream>
#include <string>

namespace
{

void convertAll(benchmark::State& state, const std::unique_ptr<DcmFileFormat>& input, std::size_t expected)
{
  setenv("TARN_DB_URL", "sqlite::memory:", 1);
  setenv("TARN_LOG", "none", 1);
  const auto db = tarn::db::DBConnector::createConnector();
  for (auto _ : state)
  {
    std::ostringstream messages;
    const tarn::ConsoleScope kept(messages, messages);
    std::list<DcmFileFormat*> outputs;
    const bool good = impsconverter::PSConverter(*db, input.get(), &outputs, 0, false).convert(false);
    if (!good || outputs.size() != expected)
      state.SkipWithError("the conversion failed");
    for (DcmFileFormat* output : outputs)
      delete output;
  }
  state.SetItemsProcessed(state.iterations());
  state.SetComplexityN(state.range(0));
}

void annotations(benchmark::State& state)
{
  convertAll(state, bench::makeInput(bench::annotationsOfOneImage(static_cast<int>(state.range(0))), 1), 1);
}
BENCHMARK(annotations)->Arg(1)->RangeMultiplier(10)->Range(100, 10000)->Complexity()->Unit(benchmark::kMillisecond);

void images(benchmark::State& state)
{
  const auto count = static_cast<int>(state.range(0));
  convertAll(state, bench::makeInput(bench::imagesWithOneAnnotation(count), count), static_cast<std::size_t>(count));
}
BENCHMARK(images)->Arg(1)->RangeMultiplier(10)->Range(100, 10000)->Complexity()->Unit(benchmark::kMillisecond);

/// Everything that the sample state with every kind of annotation holds.
void everyKind(benchmark::State& state)
{
  const samples::SampleState& sample = samples::sampleStates().front();
  const std::unique_ptr<DcmDataset> dataset = samples::makeState(sample);
  convertAll(state, std::make_unique<DcmFileFormat>(dataset.get()), 1);
}
BENCHMARK(everyKind)->Arg(1)->Unit(benchmark::kMillisecond);

} // namespace
