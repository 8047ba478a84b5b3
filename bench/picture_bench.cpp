// What a picture costs beside the toolkit's own rendering of the same state: the sample state with every kind of
// annotation over its image, 256 x 256 pixels of 16 bits.
#include "db/DBConnectorSql.h"
#include "dicom/dictionary.h"
#include "picture/drawState.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmpstat/dcmpstat.h>
#include <dcmtk/dcmpstat/dvpssp.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

namespace
{

/// The folder that PICTURE_BENCH names: the sample archive with its outputs in "converted", as scripts/demo.sh leaves
/// it.
const std::string kFolder = std::getenv("PICTURE_BENCH") ? std::getenv("PICTURE_BENCH") : "build/demo";
const std::string kStudy = "1.2.826.0.1.7770001.2.11.1.20";
const std::string kState = kFolder + "/converted/" + kStudy + "/PR.1.2.826.0.1.7770001.2.11.7.1.20.1";
const std::string kImage = kFolder + "/images/" + kStudy + "/CT." + kStudy + ".1.3";

double least(const std::vector<double>& times)
{
  return *std::min_element(times.begin(), times.end());
}

void setUp(benchmark::internal::Benchmark* bench)
{
  bench->Unit(benchmark::kMillisecond)->Repetitions(30)->ReportAggregatesOnly()->ComputeStatistics("least", least);
}

void draw(benchmark::State& state)
{
  tarn::dicom::completeDictionary();
  tarn::db::DBConnectorSql db(tarn::db::Missing::refuse);
  tarn::images::ImageFiles images(db, "");
  const tarn::picture::Codecs codecs;
  for (auto _ : state)
    benchmark::DoNotOptimize(
        tarn::picture::drawState(kState, images, {static_cast<unsigned>(state.range(0)), 1, true, kImage}));
}
BENCHMARK(draw)->Arg(512)->Arg(128)->Apply(setUp);

/// Loads both files and renders 8 bits, without graphics, without writing anything.
void toolkit(benchmark::State& state)
{
  for (auto _ : state)
  {
    DcmFileFormat stateFile, imageFile;
    DVPresentationState shown;
    const void* pixels = nullptr;
    unsigned long width = 0, height = 0;
    if (stateFile.loadFile(kState.c_str()).bad() || imageFile.loadFile(kImage.c_str()).bad() ||
        shown.read(*stateFile.getDataset()).bad() || shown.attachImage(&imageFile, OFFalse).bad() ||
        shown.getPixelData(pixels, width, height).bad())
      state.SkipWithError("the toolkit does not render it");
    benchmark::DoNotOptimize(pixels);
  }
}
BENCHMARK(toolkit)->Apply(setUp);

double secondsOf(const timeval& time)
{
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

/// A process each time; its processor time is the time of the benchmark.
void dcmp2pgm(benchmark::State& state)
{
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  std::vector<std::string> words{"dcmp2pgm", "-p", kState, kImage, "/dev/null"};
  std::vector<char*> arguments;
  for (std::string& word : words)
    arguments.push_back(word.data());
  arguments.push_back(nullptr);
  for (auto _ : state)
  {
    pid_t child = 0;
    int status = 1;
    rusage usage = {};
    if (posix_spawnp(&child, "dcmp2pgm", &actions, nullptr, arguments.data(), environ) != 0 ||
        wait4(child, &status, 0, &usage) != child || status != 0)
      state.SkipWithError("dcmp2pgm does not render it");
    state.SetIterationTime(secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime));
  }
  posix_spawn_file_actions_destroy(&actions);
}
BENCHMARK(dcmp2pgm)->UseManualTime()->Iterations(20)->Apply(setUp);

} // namespace
