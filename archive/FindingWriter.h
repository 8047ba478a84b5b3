#pragma once

#include <cstdint>
#include <string>

namespace tarn::archive
{

/// How findings are written.
enum class FindingForm
{
  text, ///< FILE: CODE: AT: TEXT (PS3.3 CLAUSE)
  json  ///< {"file","code","level","clause","at","text"}, one a line
};

/// What is wrong with a file. What does not apply is empty.
struct FileFinding
{
  std::string file;
  std::string code;
  std::string text;
  bool isNote = false;
  std::string clause{}; ///< of PS3.3
  std::string at{};     ///< the path in the data set
};

/// Writes findings to consoleOut(), and counts them.
class FindingWriter
{
public:
  explicit FindingWriter(FindingForm form) : form(form) {}

  void write(const FileFinding& finding);

  std::uint64_t errors() const { return errorCount; }
  std::uint64_t notes() const { return noteCount; }

private:
  FindingForm form;
  std::uint64_t errorCount = 0;
  std::uint64_t noteCount = 0;
};

} // namespace tarn::archive
