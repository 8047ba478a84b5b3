// One line of the plug-in state: its common parameters, and the graphic items that its kind draws (PS3.3 C.10.5).
#include "annotations/Annotation.h"

#include "base/report.h"
#include "base/wrapping.h"
#include "pstate/ElementWriter.h"
#include "pstate/ValidPresentationState.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace impsconverter
{
namespace
{

constexpr int kRequiredCommon = 9;
constexpr std::size_t kLongestColor = 16;
constexpr double kHelperGrey = 204.0;

constexpr float kCellWidth = 8.0F;
constexpr float kCellHeight = 20.0F;

constexpr char kPixel[] = "PIXEL"; // relative to the image, not to the displayed area
constexpr Uint32 kDashPattern = 0x0F0F;
constexpr Float32 kPatternOnOpacity = 0.3F;
constexpr Float32 kPatternOffOpacity = 1.0F;

/// In the order of GraphicType.
constexpr const char* kTypes[] = {"POLYLINE", "ELLIPSE", "RULER", "RANGELINE", "MULTILINE", "ARROW"};

constexpr char kNoGraphic[] = "Graphic Object Sequence item could not be created: ";

/// What graphic objects and compound graphics have in common. PS3.3 C.10.5.1.2: column, then row, of each point.
void writeShape(ElementWriter& writer, GraphicType type, const std::vector<Point>& points)
{
  std::vector<Float32> values;
  values.reserve(2 * points.size());
  for (const Point& point : points)
    values.insert(values.end(), {point.column, point.row});
  writer.number(DCM_GraphicDimensions, Uint16{2}, "Graphic Dimensions could not be created: ")
      .number(DCM_NumberOfGraphicPoints, static_cast<Uint16>(points.size()),
              "Number of Graphic Points could not be created: ")
      .floats(DCM_GraphicData, values,
              "Graphic Data value could not be inserted: ", "Graphic Data could not be inserted: ")
      .text(DCM_GraphicType, EVR_CS, kTypes[static_cast<std::size_t>(type)], "Graphic Type could not be created: ");
}

void writeGraphic(ElementWriter& writer, GraphicType type, const std::vector<Point>& points)
{
  writer.text(DCM_GraphicAnnotationUnits, EVR_CS, kPixel, "Graphic Annotation Units could not be created: ");
  writeShape(writer, type, points);
}

} // namespace

Annotation::Annotation(ValidPresentationState* ps) : debug(ps && ps->isDebug()), ps(ps) {}

Parameters Annotation::specific(const std::string& type, const std::string& params) const
{
  return {"annotation specific arguments", type, params.c_str(), debug};
}

bool Annotation::process(const std::string& line)
{
  if (!ps)
  {
    tarn::base::report("There is no Presentation State object to update");
    return false;
  }
  return parse(line) && ps->checkAndCreateAnnotationLayer() && createSimple() && createText();
}

bool Annotation::parse(const std::string& line)
{
  const std::size_t blank = line.find(' ');
  if (blank == std::string::npos)
  {
    tarn::base::report("Invalid annotation line, contains no space: ", line);
    return false;
  }
  const std::size_t pipe = line.find('|', blank);
  if (pipe == std::string::npos)
  {
    tarn::base::report("Invalid annotation line, contains no pipe: ", line);
    return false;
  }
  const std::string type = line.substr(0, blank);
  const std::string common = line.substr(blank + 1, pipe - blank - 1);
  const std::string specific = line.substr(pipe + 1);
  if (debug)
  {
    tarn::base::trace("Annotation Type: [", type, "]");
    tarn::base::trace("Common Parameters: [", common, "]");
    tarn::base::trace("Specific Parameters: [", specific, "]");
  }
  return parseCommon(type, common) && parseSpecific(type, specific);
}

bool Annotation::parseCommon(const std::string& type, const std::string& common)
{
  return Parameters("common annotation arguments", type, common.c_str(), debug)
      .number(index, " Index")
      .word(color, " Color", kLongestColor)
      .number(baseX, " Base X")
      .number(baseY, " Base Y")
      .flag(showIndex, " Show Index")
      .tracedAt(2)
      .flag(showValue, " Show Value")
      .tracedAt(3)
      .number(indexAnchorX, " Index Anchor X")
      .number(indexAnchorY, " Index Anchor Y")
      .number(valueAnchorX, " Value Anchor X")
      .number(valueAnchorY, " Value Anchor Y")
      .number(orientation, " Orientation")
      .atLeast(kRequiredCommon, "Annotation Common");
}

template <class Write>
bool Annotation::addItem(const DcmTagKey& sequence, const char* message, bool isIdentified, Write write)
{
  DcmItem* item = nullptr;
  if (!ElementWriter(*ps->annotationItem).appendItem(sequence, item, message).ok())
    return false;
  ElementWriter writer(*item);
  if (!write(writer))
    return false;
  if (isIdentified)
    writeId(writer);
  if (writer.ok() && debug)
    item->print(tarn::consoleOut());
  return writer.ok();
}

void Annotation::writeId(ElementWriter& writer) const
{
  writer.number(DCM_CompoundGraphicInstanceID, static_cast<Uint32>(index),
                "Compound Graphic Instance ID could not be created: ");
}

bool Annotation::addGraphic(GraphicType type, const std::vector<Point>& points, bool isIdentified)
{
  const auto write = [&](ElementWriter& writer)
  {
    writeGraphic(writer, type, points);
    return writer.ok();
  };
  return addItem(DCM_GraphicObjectSequence, kNoGraphic, isIdentified, write);
}

bool Annotation::addPolyline(float* points, int count)
{
  std::vector<Point> typed;
  for (const float* const end = points + 2 * static_cast<std::ptrdiff_t>(count); points != end; points += 2)
    typed.push_back({points[0], points[1]});
  return addPolyline(typed);
}

bool Annotation::addPolyline(const std::vector<Point>& points)
{
  return addGraphic(GraphicType::polyline, points, compound);
}

bool Annotation::addDashedLine(float x1, float y1, float x2, float y2, const DicomCieLab& lineColor)
{
  const auto write = [&](ElementWriter& writer)
  {
    writeGraphic(writer, GraphicType::polyline, {{x1, y1}, {x2, y2}});
    DcmItem* style = nullptr; // PS3.3 C.10.5.1.3.13
    if (!writer.appendItem(DCM_LineStyleSequence, style, nullptr).ok())
      return false;
    lineColor.addTo(style, DCM_PatternOnColorCIELabValue);
    style->putAndInsertFloat32(DcmTag(DCM_PatternOnOpacity, EVR_FL), kPatternOnOpacity);
    style->putAndInsertFloat32(DcmTag(DCM_PatternOffOpacity, EVR_FL), kPatternOffOpacity);
    style->putAndInsertString(DcmTag(DCM_LineDashingStyle, EVR_CS), "DASHED");
    return ElementWriter(*style).number(DCM_LinePattern, kDashPattern, nullptr).ok();
  };
  return addItem(DCM_GraphicObjectSequence, kNoGraphic, compound, write);
}

bool Annotation::addText(int x, int y, const std::string& text, bool centered)
{
  const Point anchor = pointAt(x, y);
  float width = 0.0F;
  float height = 0.0F;
  calcTextBox(text, width, height);
  const float left = centered ? anchor.column - width / 2.0F : anchor.column;
  const float top = centered ? anchor.row - height / 2.0F : anchor.row;
  const float right = anchor.column + (centered ? width / 2.0F : width);
  const float bottom = anchor.row + (centered ? height / 2.0F : height);
  const auto write = [&](ElementWriter& writer)
  {
    // PS3.3 C.10.5.1.1: the box says where the text is drawn, the anchor what it belongs to.
    return writer
        .text(DCM_AnchorPointAnnotationUnits, EVR_CS, kPixel, "Anchor Point Annotation Units could not be created: ")
        .text(DCM_UnformattedTextValue, EVR_ST, text, "Unformatted Text Value could not be created: ")
        .floats(DCM_AnchorPoint, {anchor.column, anchor.row},
                "Anchor Point value could not be inserted: ", "Anchor Point could not be inserted: ")
        .text(DCM_AnchorPointVisibility, EVR_CS, "N", "Anchor Point Visibility could not be created: ")
        .text(DCM_BoundingBoxAnnotationUnits, EVR_CS, kPixel, "Bounding Box Annotation Units could not be created: ")
        .floats(DCM_BoundingBoxTopLeftHandCorner, {left, top},
                "Bounding Box Top Left Hand Corner value could not be inserted: ",
                "Bounding Box Top Left Hand Corner could not be inserted: ")
        .floats(DCM_BoundingBoxBottomRightHandCorner, {right, bottom},
                "Bounding Box Bottom Right Hand Corner value could not be inserted: ",
                "Bounding Box Bottom Right Hand Corner could not be inserted: ")
        .text(DCM_BoundingBoxTextHorizontalJustification, EVR_CS, centered ? "CENTER" : "LEFT",
              "Bounding Box Text Horizontal Justification could not be created: ")
        .ok();
  };
  return addItem(DCM_TextObjectSequence, "Text Object Sequence item could not be created: ", compound, write);
}

bool Annotation::addCompound(GraphicType type, const std::vector<Point>& points,
                             const std::function<void(ElementWriter&)>& writeMore)
{
  const auto write = [&](ElementWriter& writer)
  {
    writeId(writer); // PS3.3 C.10.5.1.3.1
    writer.text(DCM_CompoundGraphicUnits, EVR_CS, kPixel, "Compound Graphic Units could not be created: ");
    writeShape(writer, type, points);
    if (writeMore)
      writeMore(writer);
    return writer.ok();
  };
  return addItem(DCM_CompoundGraphicSequence, "Compound Graphic Sequence item could not be created: ", false, write);
}

void Annotation::addHelperLine(Point from, Point to)
{
  addDashedLine(from.column, from.row, to.column, to.row, DicomCieLab(kHelperGrey, kHelperGrey, kHelperGrey));
}

void Annotation::addExtension(const std::string& mode, int startX, int startY, int endX, int endY)
{
  const auto mirrored = [](int start, int end) { return tarn::base::wrapSub(tarn::base::wrapMul(2, start), end); };
  if (mode == "ex")
    addHelperLine(pointAt(startX, startY), pointAt(mirrored(startX, endX), mirrored(startY, endY)));
}

bool Annotation::addValueLabel(const std::string& label)
{
  return !showValue || addText(valueAnchorX, valueAnchorY, label, /*centered=*/true);
}

void Annotation::calcTextBox(const std::string& text, float& width, float& height)
{
  std::size_t lines = 0;
  std::size_t longest = 0;
  for (std::size_t start = 0; lines == 0 || start < text.size(); ++lines)
  {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    longest = std::max(longest, end - start);
    start = end + 1;
  }
  width = kCellWidth * static_cast<float>(std::max<std::size_t>(longest, 1));
  height = kCellHeight * static_cast<float>(lines);
}

double Annotation::vectorLength(int dx, int dy)
{
  const std::int64_t x = dx;
  const std::int64_t y = dy;
  return std::sqrt(static_cast<double>(static_cast<std::uint64_t>(x * x) + static_cast<std::uint64_t>(y * y)));
}

} // namespace impsconverter
