// What the rules cost beside the load of the same file: the outputs of the sample states, in files.
#include "conformance/conform.h"
#include "dicom/dictionary.h"
#include "dicom/loadFile.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace
{

/// The presentation states in the folder that CONFORMANCE_BENCH names: outputs of `annomend-archive convert`.
const std::vector<std::string>& stateFiles()
{
  static const std::vector<std::string> kFiles = []
  {
    std::vector<std::string> files;
    const char* const folder = std::getenv("CONFORMANCE_BENCH");
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder ? folder : "."))
      if (entry.path().filename().string().rfind("PR.", 0) == 0)
        files.push_back(entry.path());
    return files;
  }();
  return kFiles;
}

template <class Work>
void forEachFile(benchmark::State& state, Work work)
{
  tarn::dicom::completeDictionary();
  if (stateFiles().empty())
    state.SkipWithError("CONFORMANCE_BENCH names no folder with outputs");
  std::size_t next = 0;
  for (auto _ : state)
  {
    DcmFileFormat file;
    if (tarn::dicom::loadFile(file, stateFiles()[next++ % stateFiles().size()]).bad())
      state.SkipWithError("a state cannot be loaded");
    work(*file.getDataset());
  }
  state.SetItemsProcessed(state.iterations());
}

void load(benchmark::State& state)
{
  forEachFile(state, [](DcmDataset&) {});
}
BENCHMARK(load)->Unit(benchmark::kMicrosecond);

void loadAndCheck(benchmark::State& state)
{
  forEachFile(state, [](DcmDataset& dataset) { benchmark::DoNotOptimize(tarn::conformance::check(dataset, nullptr)); });
}
BENCHMARK(loadAndCheck)->Unit(benchmark::kMicrosecond);

void loadAndMend(benchmark::State& state)
{
  forEachFile(state, [](DcmDataset& dataset)
              { benchmark::DoNotOptimize(tarn::conformance::makeConformant(dataset, nullptr)); });
}
BENCHMARK(loadAndMend)->Unit(benchmark::kMicrosecond);

} // namespace
