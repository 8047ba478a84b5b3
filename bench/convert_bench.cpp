// Conversions in memory, without a database row or a file: what a program that converts thousands pays for each, and
// how the time grows with the number of annotations and of images in one input.
#include "Console.h"
#include "PSConverter.h"
#include "StateWriter.h"

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

const std::string kImageRoot = "1.2.3.4.";

std::string idLine(int image)
{
  return "ID x/CT." + kImageRoot + std::to_string(image) + "_1";
}

std::string rulerLine(int number)
{
  const std::string n = std::to_string(number);
  return "ruler_x " + n + " yellow 10 20 0 1 30 40 50 60 0|100 200 " + n + "%2E5+mm 1";
}

samples::SampleState stateOf(std::vector<samples::Figure> figures)
{
  return {"bench", 1, "bench", samples::Layout::canonic, EVR_OB, EXS_LittleEndianExplicit, std::move(figures)};
}

/// A presentation state that refers to `images` images and annotates them by `figures`.
std::unique_ptr<DcmFileFormat> makeInput(std::vector<samples::Figure> figures, int images)
{
  const std::unique_ptr<DcmDataset> dataset = samples::makeState(stateOf(std::move(figures)));
  DcmItem* series = nullptr;
  dataset->findOrCreateSequenceItem(DCM_ReferencedSeriesSequence, series, 0);
  for (int image = 0; image < images; ++image)
  {
    DcmItem* reference = nullptr;
    series->findOrCreateSequenceItem(DCM_ReferencedImageSequence, reference, -2);
    reference->putAndInsertString(DCM_ReferencedSOPClassUID, UID_CTImageStorage);
    reference->putAndInsertString(DCM_ReferencedSOPInstanceUID, (kImageRoot + std::to_string(image)).c_str());
  }
  return std::make_unique<DcmFileFormat>(dataset.get());
}

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

/// One image with so many rulers.
void annotations(benchmark::State& state)
{
  samples::Figure figure{idLine(0)};
  for (int number = 0; number < state.range(0); ++number)
    figure.push_back(rulerLine(number));
  convertAll(state, makeInput({figure}, 1), 1);
}
BENCHMARK(annotations)->Arg(1)->RangeMultiplier(10)->Range(100, 10000)->Complexity()->Unit(benchmark::kMillisecond);

/// So many images with one ruler each, in figures of their own.
void images(benchmark::State& state)
{
  const auto count = static_cast<int>(state.range(0));
  std::vector<samples::Figure> figures;
  for (int image = 0; image < count; ++image)
    figures.push_back({idLine(image), rulerLine(image)});
  convertAll(state, makeInput(figures, count), static_cast<std::size_t>(count));
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
