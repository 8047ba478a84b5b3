// The items of the Graphic Annotation module (PS3.3 C.10.5), element by element.
#include "pstate/GraphicItems.h"

#include "base/Console.h"
#include "pstate/ElementWriter.h"

#include <algorithm>

namespace impsconverter
{
namespace
{

constexpr float kCellWidth = 8.0F;
constexpr float kCellHeight = 20.0F;

constexpr char kPixel[] = "PIXEL"; // relative to the image, not to the displayed area
constexpr Uint32 kDashPattern = 0x0F0F;
constexpr Float32 kPatternOnOpacity = 0.3F;
constexpr Float32 kPatternOffOpacity = 1.0F;

/// In the order of GraphicType.
constexpr const char* kTypes[] = {"POLYLINE", "ELLIPSE", "RULER", "RANGELINE", "MULTILINE", "ARROW"};

std::vector<Float32> valuesOf(const std::vector<Point>& points)
{
  std::vector<Float32> values;
  values.reserve(2 * points.size());
  for (const Point& point : points)
    values.insert(values.end(), {point.column, point.row});
  return values;
}

/// What graphic objects and compound graphics have in common. PS3.3 C.10.5.1.2: column, then row, of each point.
void writeShape(ElementWriter& writer, GraphicType type, const std::vector<Point>& points)
{
  writer.number(DCM_GraphicDimensions, Uint16{2}, "Graphic Dimensions could not be created: ")
      .number(DCM_NumberOfGraphicPoints, static_cast<Uint16>(points.size()),
              "Number of Graphic Points could not be created: ")
      .floats(DCM_GraphicData, valuesOf(points),
              "Graphic Data value could not be inserted: ", "Graphic Data could not be inserted: ")
      .text(DCM_GraphicType, EVR_CS, kTypes[static_cast<std::size_t>(type)], "Graphic Type could not be created: ");
}

void writeGraphic(ElementWriter& writer, GraphicType type, const std::vector<Point>& points)
{
  writer.text(DCM_GraphicAnnotationUnits, EVR_CS, kPixel, "Graphic Annotation Units could not be created: ");
  writeShape(writer, type, points);
}

void writeInstanceId(ElementWriter& writer, Uint32 id)
{
  writer.number(DCM_CompoundGraphicInstanceID, id, "Compound Graphic Instance ID could not be created: ");
}

} // namespace

TextBox::TextBox(const std::string& text)
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

DcmItem* GraphicItems::append(const DcmTagKey& sequence, const char* message)
{
  DcmItem* item = nullptr;
  return ElementWriter(*annotation).appendItem(sequence, item, message).ok() ? item : nullptr;
}

bool GraphicItems::finish(ElementWriter& writer, DcmItem& item, InstanceId id) const
{
  if (id)
    writeInstanceId(writer, *id);
  if (writer.ok() && debug)
    item.print(tarn::consoleOut());
  return writer.ok();
}

bool GraphicItems::addGraphic(GraphicType type, const std::vector<Point>& points, InstanceId id)
{
  DcmItem* const graphic = append(DCM_GraphicObjectSequence, "Graphic Object Sequence item could not be created: ");
  if (!graphic)
    return false;
  ElementWriter writer(*graphic);
  writeGraphic(writer, type, points);
  return finish(writer, *graphic, id);
}

bool GraphicItems::addDashedLine(Point from, Point to, const DicomCieLab& color, InstanceId id)
{
  DcmItem* const graphic = append(DCM_GraphicObjectSequence, "Graphic Object Sequence item could not be created: ");
  if (!graphic)
    return false;
  ElementWriter writer(*graphic);
  writeGraphic(writer, GraphicType::polyline, {from, to});
  DcmItem* style = nullptr; // PS3.3 C.10.5.1.3.13
  if (!writer.appendItem(DCM_LineStyleSequence, style, nullptr).ok())
    return false;
  color.addTo(style, DCM_PatternOnColorCIELabValue);
  style->putAndInsertFloat32(DcmTag(DCM_PatternOnOpacity, EVR_FL), kPatternOnOpacity);
  style->putAndInsertFloat32(DcmTag(DCM_PatternOffOpacity, EVR_FL), kPatternOffOpacity);
  style->putAndInsertString(DcmTag(DCM_LineDashingStyle, EVR_CS), "DASHED");
  return ElementWriter(*style).number(DCM_LinePattern, kDashPattern, nullptr).ok() && finish(writer, *graphic, id);
}

bool GraphicItems::addText(Point anchor, const std::string& text, Placement placement, InstanceId id)
{
  DcmItem* const object = append(DCM_TextObjectSequence, "Text Object Sequence item could not be created: ");
  if (!object)
    return false;
  const bool isCentered = placement == Placement::centered;
  const TextBox box(text);
  const float left = isCentered ? anchor.column - box.width / 2.0F : anchor.column;
  const float top = isCentered ? anchor.row - box.height / 2.0F : anchor.row;
  const float right = anchor.column + (isCentered ? box.width / 2.0F : box.width);
  const float bottom = anchor.row + (isCentered ? box.height / 2.0F : box.height);
  ElementWriter writer(*object);
  // PS3.3 C.10.5.1.1: the box says where the text is drawn, the anchor what it belongs to.
  writer.text(DCM_AnchorPointAnnotationUnits, EVR_CS, kPixel, "Anchor Point Annotation Units could not be created: ")
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
      .text(DCM_BoundingBoxTextHorizontalJustification, EVR_CS, isCentered ? "CENTER" : "LEFT",
            "Bounding Box Text Horizontal Justification could not be created: ");
  return finish(writer, *object, id);
}

bool GraphicItems::addCompound(GraphicType type, const std::vector<Point>& points, Uint32 id,
                               const std::function<void(ElementWriter&)>& writeMore)
{
  DcmItem* const item = append(DCM_CompoundGraphicSequence, "Compound Graphic Sequence item could not be created: ");
  if (!item)
    return false;
  ElementWriter writer(*item);
  writeInstanceId(writer, id); // PS3.3 C.10.5.1.3.1
  writer.text(DCM_CompoundGraphicUnits, EVR_CS, kPixel, "Compound Graphic Units could not be created: ");
  writeShape(writer, type, points);
  if (writeMore)
    writeMore(writer);
  return finish(writer, *item, std::nullopt);
}

} // namespace impsconverter
