#pragma once

#include "tests/support/Files.h"
#include "tests/support/TempDir.h"

#include <cstdlib>
#include <regex>
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
    static const std::regex time("(^|\n)[0-9-]{10} [0-9:.]{12} ");
    return std::regex_replace(contents(path()).substr(start), time, "$1");
  }

private:
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
