#pragma once

#include "base/Fd.h"

#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tarn::archive
{

/// A report that cannot be written; what() is one line.
class ReportError : public std::runtime_error
{
public:
  using std::runtime_error::runtime_error;
};

/// A file of a report that is written piece by piece.
class ReportFile
{
public:
  ReportFile(base::Fd fd, std::string path) : fd(std::move(fd)), path(std::move(path)) {}

  /// Throws ReportError.
  void add(std::string_view text);
  /// Writes what is left, and closes it. Throws ReportError.
  void finish();

private:
  void flush();

  base::Fd fd;
  std::string path;
  std::string pending;
};

/// The folder of a report, for the account alone. It is made where it is missing; one that is there has to be the
/// account's own, and hold nothing or an earlier report. That one stays until the new one is whole. Nothing that
/// another account placed is followed or opened.
class ReportFolder
{
public:
  /// Throws ReportError where the folder cannot be used.
  explicit ReportFolder(const std::string& path);
  /// Removes the new report, unless it took its place.
  ~ReportFolder();
  ReportFolder(const ReportFolder&) = delete;
  ReportFolder& operator=(const ReportFolder&) = delete;

  /// Makes a file of the new report, "p/012/012345.svg", and the folders in its name. Throws ReportError.
  ReportFile create(const std::string& name);
  /// The same, with all its content.
  void write(const std::string& name, std::string_view content);
  /// Puts the new report in the place of the earlier one. Throws ReportError.
  void finish();

private:
  struct Opened
  {
    std::string path;
    base::Fd fd;
  };

  void take();
  void requireReport(int folder, const std::string& prefix) const;
  const base::Fd& folderOf(const std::string& name);
  [[noreturn]] void fail(const std::string& name, const char* what) const;

  std::string path;
  base::Fd root;
  base::Fd fresh;                       ///< the new report, a folder in `root`
  bool isMade = false;                  ///< by this object
  std::map<std::string, Opened> opened; ///< the folder that was used last, by the first part of its name
};

} // namespace tarn::archive
