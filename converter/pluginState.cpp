#include "converter/PSConverter.h"

#include "base/report.h"
#include "images/ObjectInfo.h"
#include "annotations/angle.h"
#include "annotations/cobbangle.h"
#include "annotations/freehand.h"
#include "annotations/oval.h"
#include "annotations/pointer.h"
#include "annotations/ruler.h"
#include "annotations/spinelabel.h"
#include "annotations/text.h"
#include "base/urlDecode.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace impsconverter
{
namespace
{

constexpr char kFigureStart = '\\';
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

bool enoughArguments(const char* line, int count, int required)
{
  if (count < required)
    tarn::base::report("Invalid number of arguments for '", line, "': ", count);
  return count >= required;
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

struct PSConverter::Rule
{
  const char* prefix;
  LineHandler handler;
};

// First match wins.
const PSConverter::Rule PSConverter::kRules[] = {
    {"ID ", &PSConverter::processIDLine},
    {"sized ", &PSConverter::processSizedLine},
    {"light ", &PSConverter::processLightLine},
    {"pixel ", &PSConverter::processPixelLine},
    {"clip ", &PSConverter::processClipLine},
    {"ruler_x ", &PSConverter::annotationLine<Ruler>},
    {"freepointer_x ", &PSConverter::annotationLine<Pointer>},
    {"angle_x ", &PSConverter::annotationLine<Angle>},
    {"cobangle_x ", &PSConverter::annotationLine<CobbAngle>},
    {"free_x ", &PSConverter::annotationLine<FreeHand>},
    {"skewoval_x ", &PSConverter::annotationLine<SkewOval>},
    {"skewhouns_x ", &PSConverter::annotationLine<SkewHounsField>},
    {"oval_x ", &PSConverter::annotationLine<Oval>},
    {"houns_x ", &PSConverter::annotationLine<HounsField>},
    {"text_x ", &PSConverter::annotationLine<Text>},
    {"spinelabel_x ", &PSConverter::annotationLine<SpineLabel>},
};

bool PSConverter::parsePluginState(const unsigned char* text, unsigned int /*length*/)
{
  const char* const start = reinterpret_cast<const char*>(text);
  const char* backslash = std::strchr(start, kFigureStart);
  if (!backslash)
  {
    tarn::base::report("Plugin State contains no figure");
    return false;
  }
  if (debug)
    tarn::base::trace("Presentation State Label: ", std::string(start, backslash));
  while (backslash)
  {
    const char* const next = std::strchr(backslash + 1, kFigureStart);
    std::string figure = next ? std::string(backslash + 1, next) : std::string(backslash + 1);
    if (!isFigure(figure))
      return false;
    im::URLDecode(figure);
    if (!parseFigure(figure.c_str()))
    {
      tarn::base::report("parsePluginState returns false (parseFigure)");
      return false;
    }
    backslash = next;
  }
  if (debug)
    tarn::base::trace("parsePluginState returns true");
  return true;
}

bool PSConverter::parseFigure(const char* figure)
{
  if (debug)
  {
    tarn::base::trace(" -------- Figure ----------- ");
    tarn::base::trace(figure);
    tarn::base::trace(" ------ End Figure --------- ");
  }
  bool good = true;
  for (std::string line; good && getLine(figure, line) != 0;)
    good = handleLine(line);
  if (!good || !finishOutput())
  {
    tarn::base::report("parseFigure returns false");
    return false;
  }
  if (debug)
    tarn::base::trace("parseFigure returns true");
  return true;
}

int PSConverter::getLine(const char*& cursor, std::string& line)
{
  if (*cursor == '\0')
    return 0;
  const char* const feed = std::strchr(cursor, '\n');
  const char* const end = feed ? feed : cursor + std::strlen(cursor);
  line.assign(cursor, end);
  cursor = feed ? feed + 1 : end;
  return 1;
}

PSConverter::LineHandler PSConverter::handlerOf(const std::string& line) const
{
  const auto* const rule = std::find_if(std::begin(kRules), std::end(kRules),
                                        [&](const Rule& candidate) { return line.rfind(candidate.prefix, 0) == 0; });
  return rule == std::end(kRules) ? nullptr : rule->handler;
}

// cppcheck-suppress constParameter ; handlers may change it
bool PSConverter::handleLine(std::string& line)
{
  const LineHandler handler = handlerOf(line);
  return !handler || (this->*handler)(line);
}

template <class Kind>
bool PSConverter::annotationLine(std::string& line)
{
  return Kind(output.get()).process(line);
}

bool PSConverter::processIDLine(std::string& line)
{
  if (!finishOutput())
    return false;
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
  openOutput();
  ObjectInfo object(studyUid, line.substr(slash + 1, underscore - slash - 1));
  const std::string frame = line.substr(underscore + 1);
  if (!lookUpImage(object))
    return false;
  if (debug && output->hasContent())
  {
    tarn::base::trace("Referenced Series Instance UID: ", object.seriesInstanceUid);
    tarn::base::trace("Referenced SOP Class UID: ", object.sopClassUid);
    tarn::base::trace("Referenced SOP Instance UID: ", object.sopInstanceUid);
    tarn::base::trace("Referenced Frame Number: ", frame);
  }
  return setImageReferences(object, frame);
}

bool PSConverter::lookUpImage(ObjectInfo& object)
{
  if (!referencedImages)
    referencedImages.emplace(referencedSeries);
  if (!studyObjects)
    studyObjects.emplace(db, studyUid);
  db.connect(); // a database that cannot be opened is no failed look-up
  const int found = object.collect(*studyObjects, *referencedImages);
  if (found == ObjectInfo::kDatabaseFailure)
  {
    tarn::base::report("An error occurred while getting SOP class UID for figure ", object.objectName);
    return false;
  }
  if (found == ObjectInfo::kNotFound)
  {
    output->dropContent();
    logger.errorLog("%s: unresolved reference to %s - excluding annotations from output", inputFile.c_str(),
                    object.objectName.c_str());
    tarn::base::report("Could not get SOP class UID for ", object.objectName,
                       " referenced in annotations - excluding from output");
    return true;
  }
  largestColumns = std::max(largestColumns, object.columns);
  largestRows = std::max(largestRows, object.rows);
  return true;
}

bool PSConverter::processLightLine(std::string& line)
{
  int window = 0;
  int level = 0;
  int inverted = 0;
  int grayscale = 0;
  const int count = std::sscanf(line.c_str(), "light %d %d %d %d\n", &window, &level, &inverted, &grayscale);
  if (!enoughArguments("light", count, 4))
    return false;
  if (debug)
  {
    tarn::base::trace("LIGHT arguments: ", count);
    tarn::base::trace("window: ", window);
    tarn::base::trace("level: ", level);
    tarn::base::trace("inverted: ", inverted);
    tarn::base::trace("grayscale: ", grayscale);
  }
  return setWindowLevel(window, level, inverted != 0);
}

bool PSConverter::processSizedLine(std::string& line)
{
  int sizeX = 0;
  int sizeY = 0;
  int mode = 0;
  int orientation = 0;
  const int count = std::sscanf(line.c_str(), "sized %d %d %d %d\n", &sizeX, &sizeY, &mode, &orientation);
  if (!enoughArguments("sized", count, 4))
    return false;
  if (debug)
  {
    tarn::base::trace("SIZED arguments: ", count);
    tarn::base::trace("size: ", sizeX, " ", sizeY);
    tarn::base::trace("zoom: ", mode);
    tarn::base::trace("orientation: ", orientation);
  }
  if (!setSizeMode(sizeModeOf(mode)))
    return false;
  if (orientation < 0 || orientation >= kOrientations)
  {
    tarn::base::report("Invalid image orientation: ", orientation);
    return false;
  }
  const int rotation = orientation % kQuarterTurns * 90;
  const bool flip = orientation >= kQuarterTurns;
  setClip(1, 1, sizeX, sizeY); // a second sized line leaves the first one's area
  if (debug)
  {
    tarn::base::trace(" Rotation: ", rotation);
    tarn::base::trace(" Horizontal Flip: ", flip);
  }
  return setOrientation(rotation, flip);
}

bool PSConverter::processPixelLine(std::string& line)
{
  double x = 0.0;
  double y = 0.0;
  const int count = std::sscanf(line.c_str(), "pixel %lg %lg\n", &x, &y);
  if (!enoughArguments("pixel", count, 2))
    return false;
  if (debug)
  {
    tarn::base::trace("PIXEL arguments: ", count);
    tarn::base::trace("pixelX: ", x);
    tarn::base::trace("pixelY: ", y);
  }
  if (pixelSpacingX == 0.0 && pixelSpacingY == 0.0)
  {
    pixelSpacingX = x;
    pixelSpacingY = y;
  }
  return setPixelSpacing(x, y);
}

bool PSConverter::processClipLine(std::string& line)
{
  double zoomX = 0.0;
  double zoomY = 0.0;
  int posX = 0;
  int posY = 0;
  int sizeX = 0;
  int sizeY = 0;
  const int count =
      std::sscanf(line.c_str(), "clip %lg %d %d %d %d %lg\n", &zoomX, &posX, &posY, &sizeX, &sizeY, &zoomY);
  if (!enoughArguments("pixel", count, 5)) // the text that clip lines have always had
    return false;
  if (count == 5)
    zoomY = zoomX;
  if (debug)
  {
    tarn::base::trace("CLIP arguments: ", count);
    tarn::base::trace("zoom X: ", zoomX);
    tarn::base::trace("zoom Y: ", zoomY);
    tarn::base::trace("pos X: ", posX);
    tarn::base::trace("pos Y: ", posY);
    tarn::base::trace("size X: ", sizeX);
    tarn::base::trace("size Y: ", sizeY);
  }
  return setZoom(zoomX, zoomY);
}

} // namespace impsconverter
