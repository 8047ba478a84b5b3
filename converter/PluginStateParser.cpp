// The grammar of the plug-in state, and what its lines say of an image and its view.
#include "converter/PluginStateParser.h"

#include "annotations/Parameters.h"
#include "annotations/kinds.h"
#include "base/report.h"
#include "base/text.h"
#include "base/urlDecode.h"
#include "converter/PSConverter.h"
#include "converter/stateLines.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace impsconverter
{
namespace
{

constexpr char kFigurePrefix[] = "ID+";
constexpr std::size_t kFigurePrefixLength = sizeof kFigurePrefix - 1;

constexpr int kOrientations = 8;
constexpr int kQuarterTurns = 4;

SIZE_MODE sizeModeOf(int code)
{
  switch (code)
  {
  case 0:
    return SIZE_MODE_MAGNIFY;
  case 2:
    return SIZE_MODE_TRUE_SIZE;
  case 3:
    return static_cast<SIZE_MODE>(2);
  default:
    return SIZE_MODE_SCALE_TO_FIT;
  }
}

bool isFigure(const std::string& figure)
{
  if (figure.size() < kFigurePrefixLength)
    tarn::base::report("Figure is too short");
  else if (figure.compare(0, kFigurePrefixLength, kFigurePrefix) != 0)
    tarn::base::report("Figure starts with an invalid prefix");
  else
    return true;
  return false;
}

} // namespace

struct PluginStateParser::Rule
{
  const char* prefix;
  LineHandler handler;
};

// First match wins.
const PluginStateParser::Rule PluginStateParser::kRules[] = {
    {kIdPrefix, &PluginStateParser::processIDLine},   {"sized ", &PluginStateParser::processSizedLine},
    {"light ", &PluginStateParser::processLightLine}, {kPixelPrefix, &PluginStateParser::processPixelLine},
    {"clip ", &PluginStateParser::processClipLine},
};

bool PluginStateParser::parse(const char* text)
{
  const char* const backslash = std::strchr(text, kFigureStart);
  if (!backslash)
  {
    tarn::base::report("Plugin State contains no figure");
    return false;
  }
  if (target.isDebug())
    tarn::base::trace("Presentation State Label: ", std::string(text, backslash));
  if (!parseFigures(Figures(backslash)))
    return false;
  if (target.isDebug())
    tarn::base::trace("parsePluginState returns true");
  return true;
}

bool PluginStateParser::parseFigures(Figures figures)
{
  for (std::string figure; figures.next(figure);)
  {
    const bool good = isFigure(figure);
    im::URLDecode(figure);
    if (good && parseFigure(figure.c_str()))
      continue;
    if (good)
      tarn::base::report("parsePluginState returns false (parseFigure)");
    else
      countLines(figure.c_str());
    count(figures.rest());
    return false;
  }
  return true;
}

void PluginStateParser::count(const char* text)
{
  if (text)
    forEachLine(text, [this](const std::string& line) { countLine(line); });
}

void PluginStateParser::forEachLine(const char* text, const std::function<void(const std::string& line)>& visit)
{
  Figures figures(text);
  for (std::string figure; figures.next(figure);)
  {
    im::URLDecode(figure);
    const char* cursor = figure.c_str();
    for (std::string line; getLine(cursor, line) != 0;)
      visit(line);
  }
}

void PluginStateParser::countLines(const char* figure)
{
  for (std::string line; getLine(figure, line) != 0;)
    countLine(line);
}

void PluginStateParser::countLine(const std::string& line)
{
  target.account().readLine(line, ruleOf(line) || kindOf(line));
}

bool PluginStateParser::hasFigures(const char* text)
{
  return std::strchr(text, kFigureStart) != nullptr;
}

bool PluginStateParser::parseFigure(const char* figure)
{
  if (target.isDebug())
  {
    tarn::base::trace(" -------- Figure ----------- ");
    tarn::base::trace(figure);
    tarn::base::trace(" ------ End Figure --------- ");
  }
  bool good = true;
  for (std::string line; good && getLine(figure, line) != 0;)
    good = handleLine(line);
  if (!good || !target.finishOutput())
  {
    countLines(figure);
    tarn::base::report("parseFigure returns false");
    return false;
  }
  if (target.isDebug())
    tarn::base::trace("parseFigure returns true");
  return true;
}

int PluginStateParser::getLine(const char*& cursor, std::string& line)
{
  if (*cursor == '\0')
    return 0;
  const char* const feed = std::strchr(cursor, '\n');
  const char* const end = feed ? feed : cursor + std::strlen(cursor);
  line.assign(cursor, end);
  cursor = feed ? feed + 1 : end;
  return 1;
}

const PluginStateParser::Rule* PluginStateParser::ruleOf(const std::string& line)
{
  const auto* const rule =
      std::find_if(std::begin(kRules), std::end(kRules),
                   [&line](const Rule& candidate) { return tarn::base::startsWith(line, candidate.prefix); });
  return rule == std::end(kRules) ? nullptr : rule;
}

bool PluginStateParser::handleLine(const std::string& line)
{
  const Rule* const rule = ruleOf(line);
  const Kind* const kind = rule ? nullptr : kindOf(line);
  target.beginLine();
  target.account().readLine(line, rule || kind);
  if (rule)
    return (this->*rule->handler)(line);
  return !kind || kind->make(target.currentOutput())->process(line);
}

bool PluginStateParser::processIDLine(const std::string& line)
{
  if (!target.finishOutput())
    return false;
  ImageName image;
  return readIdLine(line, image) && target.openOutput(image.object, image.frame);
}

bool PluginStateParser::processLightLine(const std::string& line)
{
  int window = 0, level = 0, inverted = 0, grayscale = 0;
  return viewParameters(line, "'light'", target.isDebug())
             .number(window, "window")
             .number(level, "level")
             .number(inverted, "inverted")
             .number(grayscale, "grayscale")
             .atLeast(4, "LIGHT") &&
         target.setWindowLevel(window, level, inverted != 0);
}

bool PluginStateParser::processSizedLine(const std::string& line)
{
  int sizeX = 0, sizeY = 0, mode = 0, orientation = 0;
  const bool read = viewParameters(line, "'sized'", target.isDebug())
                        .number(sizeX, "size")
                        .number(sizeY, "")
                        .number(mode, "zoom")
                        .number(orientation, "orientation")
                        .atLeast(4, "SIZED");
  if (!read || !target.setSizeMode(sizeModeOf(mode)))
    return false;
  if (orientation < 0 || orientation >= kOrientations)
  {
    tarn::base::report("Invalid image orientation: ", orientation);
    return false;
  }
  const int rotation = orientation % kQuarterTurns * 90;
  const bool flip = orientation >= kQuarterTurns;
  // PS3.3 C.10.4 wants the corners as seen after rotation, but they are set before this line's orientation is known,
  // and stay upright. A second sized line leaves the first one's area.
  target.setClip(1, 1, sizeX, sizeY);
  if (target.isDebug())
  {
    tarn::base::trace(" Rotation: ", rotation);
    tarn::base::trace(" Horizontal Flip: ", flip);
  }
  return target.setOrientation(rotation, flip);
}

bool PluginStateParser::processPixelLine(const std::string& line)
{
  double x = 0.0, y = 0.0;
  return readPixelLine(line, target.isDebug(), x, y) && target.setPixelSpacing(x, y);
}

bool PluginStateParser::processClipLine(const std::string& line)
{
  double zoomX = 0.0;
  int posX = 0, posY = 0, sizeX = 0, sizeY = 0;
  Parameters clip = viewParameters(line, "'pixel'", target.isDebug()); // the text that clip lines have always had
  clip.real(zoomX, "zoom X")
      .number(posX, "pos X")
      .number(posY, "pos Y")
      .number(sizeX, "size X")
      .number(sizeY, "size Y");
  double zoomY = zoomX; // unless the line says another
  return clip.real(zoomY, "zoom Y").tracedAt(1).atLeast(5, "CLIP") && target.setZoom(zoomX, zoomY);
}

} // namespace impsconverter
