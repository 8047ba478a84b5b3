// What a loop over an archive pays for each output, beside the toolkit's own load and save of the same output.
//
//     files_bench [ROUNDS]
//
// Inputs of three mixes, in all transfer syntaxes. Each round converts them all from file to file, with the object
// cache touched and without, and then has the toolkit load each output and save it under another name. All files that
// are written are new, in the folder of temporary files (TMPDIR), and the database knows the study and its images.
// Figures are wall-clock time; a ratio is the median over the rounds.
#include "bench/BenchStates.h"
#include "bench/imageRows.h"
#include "tests/support/Environment.h"
#include "tests/support/MariaDbServer.h"
#include "tests/support/Processes.h"
#include "tests/support/TempDir.h"

#include "converter/PSConverter.h"
#include "db/DBConnectorSql.h"
#include "db/ObjCacheAccessor.h"
#include "dicom/dictionary.h"
#include "samples/study.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{

namespace fs = std::filesystem;

constexpr int kStates = 64;
constexpr E_TransferSyntax kSyntaxes[] = {
    EXS_LittleEndianExplicit, EXS_LittleEndianImplicit, EXS_LittleEndianExplicit, EXS_DeflatedLittleEndianExplicit,
    EXS_LittleEndianExplicit, EXS_LittleEndianImplicit, EXS_BigEndianExplicit};

/// How much is in an input: one of each at least.
struct Mix
{
  const char* name;
  int images;
  int annotations;
};

constexpr Mix kMixes[] = {{"1 to 8 images, 1 to 30 annotations", 8, 30},
                          {"1 to 3 images, 1 to 10 annotations", 3, 10},
                          {"1 image, 1 to 3 annotations", 1, 3}};

/// Lines of every kind, less their word, index and base point.
constexpr const char* kAnnotations[][2] = {
    {"ruler_x", "0 1 18 120 128 60 0|238 128 275.0+mm 1"},
    {"angle_x", "0 1 128 176 128 225 0|90 200 170 200 115+deg"},
    {"angle_x", "0 1 80 118 60 150 0|80 80 110 130 112+deg ex"},
    {"cobangle_x", "0 1 40 60 20 90 0|40 120 100 70 100 105 24+deg"},
    {"oval_x", "0 1 136 120 136 165 0|-24 32 20.6+cm2 1"},
    {"skewoval_x", "0 1 136 120 200 200 0|32 16 heart 30 0"},
    {"houns_x", "0 1 80 118 40 30 0|15 20 -800.0+HU -800 0 1"},
    {"skewhouns_x", "0 1 100 100 100 230 0|20 10 mean+12 12.5 3.25 90 1"},
    {"free_x", "0 1 60 60 200 20 0|5 60 60 90 50 120 62 115 95 70 100 outline"},
    {"freepointer_x", "0 1 176 100 0 0 0|206 140"},
    {"text_x", "0 0 10 10 0 0 0|0 Torso+phantom"},
    {"spinelabel_x", "0 1 0 0 0 0 0|0 0 128 190 T8 0"},
};

class RandomState
{
public:
  explicit RandomState(std::size_t number) : random(static_cast<unsigned>(number)) {}

  std::unique_ptr<DcmFileFormat> make(const Mix& mix)
  {
    const int images = upTo(mix.images);
    std::vector<samples::Figure> figures;
    for (int image = 0; image < images; ++image)
      figures.push_back({bench::idLine(image), "light " + number(2000) + " " + number(500) + " 0 1",
                         "sized 256 256 " + number(3) + " " + number(7), "pixel 1.25 1.25",
                         "clip 1.5 0 0 256 " + number(256)});
    for (int index = upTo(mix.annotations); index > 0; --index)
    {
      const auto& [word, rest] = kAnnotations[upTo(static_cast<int>(std::size(kAnnotations))) - 1];
      figures[static_cast<std::size_t>(upTo(images)) - 1].push_back(
          std::string(word) + " " + std::to_string(index) + " yellow " + number(256) + " " + number(256) + " " + rest);
    }
    return bench::makeInput(std::move(figures), images);
  }

private:
  int upTo(int most) { return std::uniform_int_distribution(1, most)(random); }
  std::string number(int most) { return std::to_string(upTo(most)); }

  std::mt19937 random;
};

double median(std::vector<double> values)
{
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

void require(bool good, const char* what)
{
  if (!good)
    throw std::runtime_error(std::string(what) + " failed");
}

std::vector<std::string> filesIn(const std::string& folder)
{
  std::vector<std::string> paths;
  for (const fs::directory_entry& file : fs::directory_iterator(folder))
    paths.push_back(file.path());
  return paths;
}

/// The paths of the inputs in a folder.
std::vector<std::string> inputPaths(const TempDir& folder)
{
  std::vector<std::string> paths;
  for (int number = 0; number < kStates; ++number)
    paths.push_back(folder / std::to_string(number));
  return paths;
}

/// Needs the toolkit's whole dictionary.
int saveInputs(const Mix& mix, const std::vector<std::string>& paths)
{
  for (std::size_t number = 0; number < paths.size(); ++number)
  {
    const auto file = RandomState(number).make(mix);
    const std::string uid = samples::kStateUidRoot + std::to_string(number + 1);
    file->getDataset()->putAndInsertString(DCM_SOPInstanceUID, uid.c_str());
    const E_TransferSyntax syntax = kSyntaxes[number % std::size(kSyntaxes)];
    require(file->saveFile(paths[number].c_str(), syntax).good(), "Saving an input");
  }
  return 0;
}

template <class Work>
double milliseconds(Work work)
{
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

/// Milliseconds an output.
struct Times
{
  double touched = 0.0; ///< of a conversion that makes sure of the study's object table
  double notTouched = 0.0;
  double toolkit = 0.0;
};

class FilesBench
{
public:
  FilesBench(const Mix& mix, std::vector<std::string> inputs) : inputs(std::move(inputs))
  {
    std::string error;
    require(tarn::dicom::setUpDictionary(error), "Setting up the dictionary");
    db.createTables();
    bench::registerImages(db, samples::kStudyUid, mix.images);
    db.objCache().setObjCacheStatus(samples::kStudyUid, tarn::db::kObjCacheValid);
  }

  Times round(bool touchesFirst)
  {
    Times sum;
    for (const bool touches : {touchesFirst, !touchesFirst})
    {
      removeOutputs();
      (touches ? sum.touched : sum.notTouched) = milliseconds([&] { convertAll(touches); });
    }
    const std::vector<std::string> written = filesIn(outputs.path());
    sum.toolkit = milliseconds([&] { loadAndSave(written); });
    const auto count = static_cast<double>(written.size());
    return {sum.touched / count, sum.notTouched / count, sum.toolkit / count};
  }

private:
  void convertAll(bool touches)
  {
    for (const std::string& input : inputs)
      require(impsconverter::PSConverter(db, input, outputs / "", 0, false).convert(touches), "A conversion");
  }

  static void loadAndSave(const std::vector<std::string>& files)
  {
    for (const std::string& path : files)
    {
      DcmFileFormat file;
      require(file.loadFile(path.c_str()).good() && file.saveFile((path + ".saved").c_str()).good(), "The toolkit");
    }
  }

  void removeOutputs() const
  {
    for (const std::string& path : filesIn(outputs.path()))
      fs::remove(path);
  }

  const std::vector<std::string> inputs;
  const TempDir outputs;
  tarn::db::DBConnectorSql db{tarn::db::Missing::create};
};

void print(const char* name, const std::vector<Times>& rounds, double Times::*part)
{
  std::vector<double> times;
  std::vector<double> ratios;
  for (const Times& round : rounds)
  {
    times.push_back(round.*part);
    ratios.push_back(round.*part / round.toolkit);
  }
  std::printf("  %-13s  %.3f ms an output, ratio %.2f\n", name, median(times), median(ratios));
}

/// To run in a process of its own, since it changes the dictionary. The first round fills the caches.
int measure(const Mix& mix, const std::vector<std::string>& inputs, const std::string& url, int rounds)
{
  // cppcheck-suppress unreadVariable ; what it sets lasts as long as it does
  const ScopedEnvironment database("TARN_DB_URL", url);
  FilesBench bench(mix, inputs);
  std::vector<Times> times;
  bench.round(false);
  for (int round = 0; round < rounds; ++round)
    times.push_back(bench.round(round % 2 == 0));
  std::printf("%s, %s\n", mix.name, url.substr(0, url.find(':')).c_str());
  print("cache touched", times, &Times::touched);
  print("not touched", times, &Times::notTouched);
  print("toolkit", times, &Times::toolkit);
  std::fflush(stdout);
  return 0;
}

int measureAll(int rounds)
{
  const ScopedEnvironment log("TARN_LOG", "none");
  MariaDbServer server;
  int failures = 0;
  for (const Mix& mix : kMixes)
  {
    const TempDir folder;
    const std::vector<std::string> inputs = inputPaths(folder);
    failures += statusOf(inChild([&] { return saveInputs(mix, inputs); }));
    for (const std::string& url : {"sqlite:" + (folder / "db"), server.createDatabase()})
      failures += statusOf(inChild([&] { return measure(mix, inputs, url, rounds); }));
  }
  return failures == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
  try
  {
    return measureAll(argc > 1 ? std::max(1, std::atoi(argv[1])) : 40);
  }
  catch (const std::exception& failure)
  {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}
