#pragma once

#include "Files.h"
#include "TempDir.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string>

/// What the program logs, at debug level, from the construction on. The log's destination is chosen once a process,
/// before the first line: link the program with nothing that logs while it starts.
class LogFile
{
public:
  LogFile() : start(contents(path()).size()) {}

  /// The lines, each "level name: message", without their time.
  std::string lines() const
  {
    std::istringstream text(contents(path()).substr(start));
    std::string result;
    for (std::string line; std::getline(text, line);)
      result.append(line, std::min(kTimeWidth, line.size())).push_back('\n');
    return result;
  }

private:
  static constexpr std::size_t kTimeWidth = 24; // "2024-01-31 23:59:59.999 "

  static const std::string& path()
  {
    static const TempDir folder;
    static const std::string name = folder.path() / "log";
    return name;
  }
  static inline const bool chosen =
      setenv("TARN_LOG", ("file:" + path()).c_str(), 1) == 0 && setenv("TARN_LOG_LEVEL", "debug", 1) == 0;

  std::size_t start;
};
