// Figures and lines of a plug-in state.
#include "converter/stateLines.h"

#include "base/report.h"

#include <cstring>

namespace impsconverter
{

Figures::Figures(const char* text) : backslash(std::strchr(text, kFigureStart)) {}

bool Figures::next(std::string& figure)
{
  if (!backslash)
    return false;
  const char* const start = backslash + 1;
  backslash = std::strchr(start, kFigureStart);
  figure = backslash ? std::string(start, backslash) : std::string(start);
  return true;
}

Parameters viewParameters(const std::string& line, const char* subject, bool debug)
{
  return {"arguments", subject, line.c_str() + line.find(' '), debug};
}

bool readIdLine(const std::string& line, ImageName& image)
{
  const std::size_t slash = line.find('/');
  if (slash == std::string::npos)
  {
    tarn::base::report("Invalid ID in figure - contains no slash ('/')");
    return false;
  }
  const std::size_t underscore = line.rfind('_');
  if (underscore == std::string::npos || underscore < slash)
  {
    tarn::base::report("Invalid ID in figure - contains no underscore ('_')");
    return false;
  }
  image = {line.substr(slash + 1, underscore - slash - 1), line.substr(underscore + 1)};
  return true;
}

bool readPixelLine(const std::string& line, bool debug, double& first, double& second)
{
  return viewParameters(line, "'pixel'", debug).real(first, "pixelX").real(second, "pixelY").atLeast(2, "PIXEL");
}

} // namespace impsconverter
