#include "base/report.h"

namespace tarn::base
{

/// The whole line is one write, and a write that failed does not silence those after it.
void reportLine(const std::string& line)
{
  std::ostream& stream = consoleError();
  stream.clear();
  stream << printable(line) + '\n' << std::flush;
}

} // namespace tarn::base
