// How the time of a conversion grows from 1,000 to 16,000 ID lines (an output object each) and annotations of one image
// (one output object in all), for the command and in memory, and how much memory an output costs the command.
//
//     growth_bench [ROUNDS]
//
// Each round measures every size once, in processes of their own, so that all sizes see the same machine. Time is that
// of the processor, the system's part included: what else runs shows less in it. The figure of a size is the median of
// the rounds less that of one unit; a ratio of 1.00 is linear. Files go to the folder of temporary files (TMPDIR).
#include "bench/BenchStates.h"
#include "bench/imageRows.h"
#include "tests/support/Processes.h"
#include "tests/support/Environment.h"
#include "tests/support/TempDir.h"

#include "base/Console.h"
#include "db/DBConnectorSql.h"
#include "dicom/dictionary.h"
#include "dicom/loadFile.h"
#include "converter/PSConverter.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <iterator>
#include <list>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

namespace fs = std::filesystem;

constexpr int kSizes[] = {1, 1000, 16000};
constexpr char kStudy[] = "1.2.3.4";

struct Cost
{
  double milliseconds;
  double peakBytes; ///< of the resident set
};

double milliseconds(const timeval& time)
{
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

/// Waits for a process. Throws when its exit status is another.
Cost costOf(pid_t child, int expectedStatus = 0)
{
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != expectedStatus)
    throw std::runtime_error("a measured process failed");
  return {milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime), static_cast<double>(usage.ru_maxrss) * 1024.0};
}

/// An input in the file `path`, of which `outputs` objects are made, and one as large, `refused`, of which none is.
/// This process stays small: what it holds counts as memory of those that it starts.
struct Input
{
  Input(const TempDir& folder, const std::string& name, int units,
        const std::function<std::vector<samples::Figure>(int)>& makeFigures)
    : path(folder / (name + std::to_string(units))), refused(path + ".refused")
  {
    std::vector<samples::Figure> figures = makeFigures(units);
    outputs = figures.size();
    costOf(inChild(
        [&]
        {
          const auto images = static_cast<int>(outputs);
          bench::registerImages(*tarn::db::DBConnectorSql::open(tarn::db::Missing::refuse), kStudy, images);
          const bool saved = save(*bench::makeInput(figures, images), path);
          figures.insert(figures.begin(), {"no figure"});
          return saved && save(*bench::makeInput(figures, images), refused) ? 0 : 1;
        }));
  }

  static bool save(DcmFileFormat& file, const std::string& name)
  {
    file.getDataset()->putAndInsertString(DCM_StudyInstanceUID, kStudy);
    return file.saveFile(name.c_str(), EXS_LittleEndianExplicit).good();
  }

  std::string path;
  std::string refused;
  std::size_t outputs = 0;
};

int becomeCommand(const std::string& input, const std::string& prefix)
{
  static const std::string program = fs::read_symlink("/proc/self/exe").parent_path() / "annomend";
  dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
  return execl(program.c_str(), "annomend", "-N", "-f", input.c_str(), "-o", prefix.c_str(), nullptr);
}

/// The command, its outputs written to a new folder.
Cost runCommand(const Input& input, bool isRefused = false)
{
  const TempDir folder;
  const Cost cost = costOf(inChild([&] { return becomeCommand(isRefused ? input.refused : input.path, folder / ""); }),
                           isRefused ? 1 : 0);
  const fs::directory_iterator files(folder.path());
  if (static_cast<std::size_t>(std::distance(begin(files), end(files))) != (isRefused ? 0 : input.outputs))
    throw std::runtime_error("the command wrote another number of files");
  return cost;
}

double processorTime()
{
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// Milliseconds in memory, in a process that did the same on a small input before.
struct InMemory
{
  double conversion;
  double dropping; ///< its outputs, by the caller
};

InMemory timeInMemory(const Input& input, const Input& small)
{
  constexpr int kShared = MAP_SHARED | MAP_ANONYMOUS;
  // cppcheck-suppress invalidFunctionArg ; an anonymous mapping has no file
  static void* const mapping = mmap(nullptr, sizeof(InMemory), PROT_READ | PROT_WRITE, kShared, -1, 0);
  auto* const answer = static_cast<InMemory*>(mapping);
  costOf(inChild(
      [&]
      {
        std::string error;
        const auto db = tarn::db::DBConnector::createConnector();
        const auto convert = [&](const Input& from)
        {
          DcmFileFormat file;
          std::ostringstream messages;
          const tarn::ConsoleScope kept(messages, messages);
          std::list<DcmFileFormat*> outputs;
          bool good = tarn::dicom::loadFile(file, from.path).good();
          const double start = processorTime();
          good = impsconverter::PSConverter(*db, &file, &outputs, 0, false).convert(false) && good;
          const double converted = processorTime();
          good = good && outputs.size() == from.outputs;
          for (DcmFileFormat* output : outputs)
            delete output;
          *answer = {converted - start, processorTime() - converted};
          return good;
        };
        return tarn::dicom::setUpDictionary(error) && convert(small) && convert(input) ? 0 : 1;
      }));
  return *answer;
}

double median(std::vector<double> values)
{
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// A quantity over the sizes of one kind of input.
struct Series
{
  const char* name;
  std::function<double(const Input&)> measure;
  std::vector<double> samples[std::size(kSizes)];

  double middle(std::size_t size) const { return median(samples[size]); }
};

void measure(const char* unit, const std::vector<Input>& inputs, int rounds)
{
  Series command{"command", [](const Input& input) { return runCommand(input).milliseconds; }, {}};
  Series memory{"in memory", [&](const Input& input) { return timeInMemory(input, inputs.front()).conversion; }, {}};
  Series drop{"dropping", [&](const Input& input) { return timeInMemory(input, inputs.front()).dropping; }, {}};
  Series peak{"peak", [](const Input& input) { return runCommand(input).peakBytes; }, {}};
  Series loaded{"loaded", [](const Input& input) { return runCommand(input, true).peakBytes; }, {}};
  for (int round = 0; round < rounds; ++round)
    for (Series* series : {&command, &memory, &drop, &peak, &loaded})
      for (std::size_t size = 0; size < inputs.size(); ++size)
        if (round < 3 || (series != &peak && series != &loaded))
        {
          runCommand(inputs.front()); // every run begins with the caches that a small one leaves
          series->samples[size].push_back(series->measure(inputs[size]));
        }
  for (const Series* series : {&command, &memory, &drop})
  {
    const double few = (series->middle(1) - series->middle(0)) / (kSizes[1] - kSizes[0]);
    const double many = (series->middle(2) - series->middle(0)) / (kSizes[2] - kSizes[0]);
    std::printf("%-9s  %-11s  %8.2f ms  %9.2f ms  %9.2f ms  %8.2f us  %8.2f us  %5.2f\n", series->name, unit,
                series->middle(0), series->middle(1), series->middle(2), few * 1000, many * 1000, many / few);
  }
  const auto beyond = [&](std::size_t size) { return peak.middle(size) - loaded.middle(size); };
  std::printf("           peak memory %.2f / %.2f MB, beyond the loaded input %.0f / %.0f KB: %.1f bytes a %s\n",
              peak.middle(1) / 1e6, peak.middle(2) / 1e6, beyond(1) / 1e3, beyond(2) / 1e3,
              (beyond(2) - beyond(1)) / (kSizes[2] - kSizes[1]), unit);
}

std::vector<Input> makeInputs(const TempDir& folder, const char* unit,
                              const std::function<std::vector<samples::Figure>(int)>& makeFigures)
{
  std::vector<Input> inputs;
  for (const int size : kSizes)
    inputs.emplace_back(folder, unit, size, makeFigures);
  return inputs;
}

void measureAll(int rounds)
{
  const TempDir folder;
  const ScopedEnvironment log("TARN_LOG", "none");
  const ScopedEnvironment state("XDG_STATE_HOME", folder.path().string()); // an embedded database of its own
  const ScopedEnvironment database("TARN_DB_URL", std::nullopt);
  costOf(inChild([] { return tarn::db::DBConnectorSql::open(tarn::db::Missing::create) ? 0 : 1; }));
  std::printf("%d rounds     unit           1 unit       1,000 units  16,000 units  each of 1,000  of 16,000  ratio\n",
              rounds);
  measure("ID line", makeInputs(folder, "ID line", bench::imagesWithOneAnnotation), rounds);
  measure("annotation", makeInputs(folder, "annotation", bench::annotationsOfOneImage), rounds);
}

} // namespace

int main(int argc, char** argv)
{
  try
  {
    measureAll(argc > 1 ? std::max(1, std::atoi(argv[1])) : 21);
    return 0;
  }
  catch (const std::exception& failure)
  {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}
