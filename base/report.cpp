// Message lines for the user.
#include "base/report.h"

namespace tarn::base
{

/// The whole line is one write. A write that failed earlier does not silence this one.
void reportLine(const std::string& line)
{
  std::ostream& stream = consoleError();
  stream.clear();
  stream << printable(line) + '\n' << std::flush;
}

} // namespace tarn::base
