// Figures and lines of a plug-in state.
#include "converter/stateLines.h"

#include "base/report.h"
#include "base/urlDecode.h"

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

bool nextLine(const char*& cursor, std::string& line)
{
  if (*cursor == '\0')
    return false;
  const char* const feed = std::strchr(cursor, '\n');
  const char* const end = feed ? feed : cursor + std::strlen(cursor);
  line.assign(cursor, end);
  cursor = feed ? feed + 1 : end;
  return true;
}

void forEachLine(const char* figure, const std::function<void(const std::string& line)>& visit)
{
  for (std::string line; nextLine(figure, line);)
    visit(line);
}

void forEachLine(Figures figures, const std::function<void(const std::string& line)>& visit)
{
  for (std::string figure; figures.next(figure);)
  {
    im::URLDecode(figure);
    forEachLine(figure.c_str(), visit);
  }
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
