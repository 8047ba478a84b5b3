// Message lines for the user.
#include "base/report.h"

namespace tarn::base
{

namespace
{

thread_local std::uint64_t lines = 0;

} // namespace

std::uint64_t reportedLines()
{
  return lines;
}

/// The whole line is one write. A write that failed earlier does not silence this one.
void reportLine(const std::string& line)
{
  ++lines;
  std::ostream& stream = consoleError();
  stream.clear();
  stream << printable(line) + '\n' << std::flush;
}

} // namespace tarn::base
