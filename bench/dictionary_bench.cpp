// The data dictionary, most of what a one-shot run would spend at its start: compiled in, and as the toolkit reads it.
#include "dicom/dictionary.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcdict.h>

#include <benchmark/benchmark.h>

namespace
{

void compiledIn(benchmark::State& state)
{
  for (auto _ : state)
  {
    DcmDataDictionary dictionary(OFFalse, OFFalse);
    tarn::dicom::supplyAll(dictionary);
    benchmark::DoNotOptimize(dictionary.numberOfEntries());
  }
}
BENCHMARK(compiledIn)->Unit(benchmark::kMillisecond);

void textFiles(benchmark::State& state)
{
  for (auto _ : state)
  {
    DcmDataDictionary dictionary(OFFalse, OFTrue);
    benchmark::DoNotOptimize(dictionary.numberOfEntries());
  }
}
BENCHMARK(textFiles)->Unit(benchmark::kMillisecond);

} // namespace
