#include "annotations/Annotation.h"

#include "base/Console.h"
#include "base/report.h"
#include "pstate/ElementWriter.h"
#include "pstate/ValidPresentationState.h"

#include <algorithm>

namespace impsconverter
{
namespace
{

constexpr int kRequiredCommon = 9;
constexpr std::size_t kLongestColor = 16;
constexpr float kCellWidth = 8.0F;
constexpr float kCellHeight = 20.0F;
constexpr double kHelperGrey = 204.0;
constexpr Uint32 kDashPattern = 0x0F0F;
constexpr Float32 kPatternOnOpacity = 0.3F;
constexpr Float32 kPatternOffOpacity = 1.0F;

constexpr char kUnitsMessage[] = "Graphic Annotation Units could not be created: ";
constexpr char kInstanceIdMessage[] = "Compound Graphic Instance ID could not be created: ";
constexpr char kItemMessage[] = "Graphic Object Sequence item could not be created: ";

/// Dimensions, points, data and type: what graphic objects and compound graphics have in common.
void writeShape(ElementWriter& writer, const std::vector<Float32>& points, const char* type)
{
  writer.number(DCM_GraphicDimensions, Uint16{2}, "Graphic Dimensions could not be created: ")
      .number(DCM_NumberOfGraphicPoints, static_cast<Uint16>(points.size() / 2),
              "Number of Graphic Points could not be created: ")
      .floats(DCM_GraphicData, points,
              "Graphic Data value could not be inserted: ", "Graphic Data could not be inserted: ")
      .text(DCM_GraphicType, EVR_CS, type, "Graphic Type could not be created: ");
}

void writeGraphic(ElementWriter& writer, const std::vector<Float32>& points, const char* type)
{
  writer.text(DCM_GraphicAnnotationUnits, EVR_CS, "PIXEL", kUnitsMessage);
  writeShape(writer, points, type);
}

} // namespace

Annotation::Annotation(ValidPresentationState* state) : debug(state && state->isDebug()), ps(state) {}

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
  return parseCommon(type, common) && parseSpecific(type, specific) && ps->checkAndCreateAnnotationLayer() &&
         createSimple() && createText();
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

void Annotation::traceItem(DcmItem& item) const
{
  if (debug)
    item.print(tarn::consoleOut());
}

bool Annotation::complete(const ElementWriter& writer, DcmItem& item) const
{
  if (writer.ok())
    traceItem(item);
  return writer.ok();
}

bool Annotation::addInstanceId(ElementWriter& writer) const
{
  return writer.number(DCM_CompoundGraphicInstanceID, static_cast<Uint32>(index), kInstanceIdMessage).ok();
}

bool Annotation::finish(ElementWriter& writer, DcmItem& item) const
{
  if (compound)
    addInstanceId(writer);
  return complete(writer, item);
}

bool Annotation::addPolyline(float* points, int count)
{
  return addPolyline(std::vector<Float32>(points, points + 2 * static_cast<std::ptrdiff_t>(count)));
}

bool Annotation::addPolyline(const std::vector<Float32>& points)
{
  return addGraphic(points, "POLYLINE", compound);
}

bool Annotation::addGraphic(const std::vector<Float32>& points, const char* type, bool withInstanceId)
{
  DcmItem* graphic = nullptr;
  if (!ElementWriter(*ps->annotationItem).appendItem(DCM_GraphicObjectSequence, graphic, kItemMessage).ok())
    return false;
  ElementWriter writer(*graphic);
  writeGraphic(writer, points, type);
  if (withInstanceId)
    addInstanceId(writer);
  return complete(writer, *graphic);
}

bool Annotation::addDashedLine(float x1, float y1, float x2, float y2, const DicomCieLab& lineColor)
{
  DcmItem* graphic = nullptr;
  if (!ElementWriter(*ps->annotationItem).appendItem(DCM_GraphicObjectSequence, graphic, kItemMessage).ok())
    return false;
  ElementWriter writer(*graphic);
  writeGraphic(writer, {x1, y1, x2, y2}, "POLYLINE");
  DcmItem* style = nullptr;
  if (!writer.appendItem(DCM_LineStyleSequence, style, nullptr).ok())
    return false;
  lineColor.addTo(style, DCM_PatternOnColorCIELabValue);
  style->putAndInsertFloat32(DcmTag(DCM_PatternOnOpacity, EVR_FL), kPatternOnOpacity);
  style->putAndInsertFloat32(DcmTag(DCM_PatternOffOpacity, EVR_FL), kPatternOffOpacity);
  style->putAndInsertString(DcmTag(DCM_LineDashingStyle, EVR_CS), "DASHED");
  return ElementWriter(*style).number(DCM_LinePattern, kDashPattern, nullptr).ok() && finish(writer, *graphic);
}

void Annotation::addHelperLine(float x1, float y1, float x2, float y2)
{
  addDashedLine(x1, y1, x2, y2, DicomCieLab(kHelperGrey, kHelperGrey, kHelperGrey));
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

bool Annotation::addText(int x, int y, const std::string& text, bool centered)
{
  float width = 0.0F;
  float height = 0.0F;
  calcTextBox(text, width, height);
  const auto anchorX = static_cast<float>(x);
  const auto anchorY = static_cast<float>(y);
  const float left = centered ? anchorX - width / 2.0F : anchorX;
  const float top = centered ? anchorY - height / 2.0F : anchorY;
  const float right = centered ? anchorX + width / 2.0F : anchorX + width;
  const float bottom = centered ? anchorY + height / 2.0F : anchorY + height;

  DcmItem* object = nullptr;
  if (!ElementWriter(*ps->annotationItem)
           .appendItem(DCM_TextObjectSequence, object, "Text Object Sequence item could not be created: ")
           .ok())
    return false;
  ElementWriter writer(*object);
  writer.text(DCM_AnchorPointAnnotationUnits, EVR_CS, "PIXEL", "Anchor Point Annotation Units could not be created: ")
      .text(DCM_UnformattedTextValue, EVR_ST, text, "Unformatted Text Value could not be created: ")
      .floats(DCM_AnchorPoint, {anchorX, anchorY},
              "Anchor Point value could not be inserted: ", "Anchor Point could not be inserted: ")
      .text(DCM_AnchorPointVisibility, EVR_CS, "N", "Anchor Point Visibility could not be created: ")
      .text(DCM_BoundingBoxAnnotationUnits, EVR_CS, "PIXEL", "Bounding Box Annotation Units could not be created: ")
      .floats(DCM_BoundingBoxTopLeftHandCorner, {left, top},
              "Bounding Box Top Left Hand Corner value could not be inserted: ",
              "Bounding Box Top Left Hand Corner could not be inserted: ")
      .floats(DCM_BoundingBoxBottomRightHandCorner, {right, bottom},
              "Bounding Box Bottom Right Hand Corner value could not be inserted: ",
              "Bounding Box Bottom Right Hand Corner could not be inserted: ")
      .text(DCM_BoundingBoxTextHorizontalJustification, EVR_CS, centered ? "CENTER" : "LEFT",
            "Bounding Box Text Horizontal Justification could not be created: ");
  return finish(writer, *object);
}

bool Annotation::addValueLabel(const std::string& label)
{
  return !showValue || addText(valueAnchorX, valueAnchorY, label, true);
}

DcmItem* Annotation::addCompound(const std::vector<Float32>& points, const char* type)
{
  DcmItem* item = nullptr;
  if (!ElementWriter(*ps->annotationItem)
           .appendItem(DCM_CompoundGraphicSequence, item, "Compound Graphic Sequence item could not be created: ")
           .ok())
    return nullptr;
  ElementWriter writer(*item);
  addInstanceId(writer);
  writer.text(DCM_CompoundGraphicUnits, EVR_CS, "PIXEL", "Compound Graphic Units could not be created: ");
  writeShape(writer, points, type);
  return writer.ok() ? item : nullptr;
}

} // namespace impsconverter
