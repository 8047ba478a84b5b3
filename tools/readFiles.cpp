// The files below folders, walked without recursion, and the objects in them.
#include "tools/readFiles.h"

#include "base/report.h"
#include "tools/readStudyObject.h"

#include <filesystem>
#include <iostream>
#include <set>
#include <system_error>

#include <unistd.h>

namespace tarn::tools
{
namespace
{

namespace fs = std::filesystem;

/// The files that are to be read, and what is left out, in byte order.
struct FileList
{
  std::set<std::string> files;    ///< regular files, links to such included
  std::set<std::string> problems; ///< why something cannot be looked at, one line each
  std::set<std::string> others;   ///< what is neither file nor folder, and links to folders

  /// Adds `path` or, when it is a folder, everything below it. A link to a folder is followed for `path` only.
  void add(const std::string& path)
  {
    std::vector<fs::path> folders;
    const auto sortIn = [&](const fs::path& found, bool isFolder)
    {
      std::error_code error;
      if (isFolder)
        folders.push_back(found);
      else if (fs::is_regular_file(found, error))
        files.insert(found.string());
      else if (error)
        problems.insert(found.string() + ": " + error.message());
      else
        others.insert(found.string());
    };
    std::error_code ignored;
    sortIn(path, fs::is_directory(path, ignored));
    while (!folders.empty())
    {
      const fs::path folder = folders.back();
      folders.pop_back();
      std::error_code error;
      for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        sortIn(entry->path(), fs::is_directory(entry->symlink_status(ignored)));
      if (error)
        problems.insert(folder.string() + ": " + error.message());
    }
  }
};

/// A progress bar on consoleError(), which is drawn in place at most a hundred times. The destructor empties the line.
class Progress
{
public:
  /// Nothing is drawn unless somebody sees it: consoleError() is standard error, and that is a terminal.
  explicit Progress(std::size_t total)
    : total(total), shown(total > 0 && &consoleError() == &std::cerr && isatty(STDERR_FILENO) == 1)
  {
    if (shown)
      draw();
  }
  ~Progress() { clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Counts one more file as done.
  void step()
  {
    ++done;
    const std::size_t percent = shown ? done * 100 / total : 0;
    if (percent == drawnPercent)
      return;
    drawnPercent = percent;
    draw();
  }
  /// Empties the line for a message. The next change draws the bar again.
  void clear() const
  {
    if (shown)
      consoleError() << "\r\033[K" << std::flush;
  }

private:
  void draw() const
  {
    constexpr std::size_t kWidth = 40;
    std::string bar(drawnPercent * kWidth / 100, '#');
    bar.resize(kWidth, '.');
    consoleError() << "\r[" << bar << "] " << done << '/' << total << " files" << std::flush;
  }

  std::size_t total;
  std::size_t done = 0;
  std::size_t drawnPercent = 0;
  bool shown;
};

void skip(Reading& reading, const std::string& path, const std::string& reason)
{
  ++reading.skipped;
  base::report("tarnctl: ", path, ": skipped, ", reason);
}

void fail(Reading& reading, const std::string& problem)
{
  ++reading.failed;
  base::report("tarnctl: ", problem);
}

void read(Reading& reading, const std::string& path, const Progress& progress)
{
  try
  {
    study::StudyObject object = readStudyObject(path);
    ++reading.objects;
    const std::string studyUid = object.studyUid;
    reading.studies[studyUid].push_back(std::move(object));
  }
  catch (const NoObject& reason)
  {
    progress.clear();
    skip(reading, path, reason.what());
  }
  catch (const imutils::IMException& reason)
  {
    progress.clear();
    fail(reading, path + ": " + reason.what());
  }
}

} // namespace

Reading readFiles(const std::vector<std::string>& paths)
{
  FileList list;
  for (const std::string& path : paths)
    list.add(path);
  Reading reading;
  for (const std::string& problem : list.problems)
    fail(reading, problem);
  for (const std::string& path : list.others)
    skip(reading, path, "no regular file");
  Progress progress(list.files.size());
  for (const std::string& path : list.files)
  {
    read(reading, path, progress);
    progress.step();
  }
  return reading;
}

} // namespace tarn::tools
