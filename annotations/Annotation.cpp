// One line of the plug-in state: its common parameters, and the graphic items that its kind draws (PS3.3 C.10.5).
#include "annotations/Annotation.h"

#include "base/report.h"
#include "pstate/ValidPresentationState.h"

namespace impsconverter
{
namespace
{

constexpr int kRequiredCommon = 9;
constexpr std::size_t kLongestColor = 16;
constexpr double kHelperGrey = 204.0;

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

GraphicItems Annotation::items() const
{
  return {*ps->annotationItem, debug};
}

GraphicItems::InstanceId Annotation::idIfCompound() const
{
  return compound ? GraphicItems::InstanceId(ownId()) : std::nullopt;
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
  return items().addGraphic(GraphicType::polyline, points, idIfCompound());
}

bool Annotation::addDashedLine(float x1, float y1, float x2, float y2, const DicomCieLab& lineColor)
{
  return items().addDashedLine({x1, y1}, {x2, y2}, lineColor, idIfCompound());
}

void Annotation::addHelperLine(Point from, Point to)
{
  addDashedLine(from.column, from.row, to.column, to.row, DicomCieLab(kHelperGrey, kHelperGrey, kHelperGrey));
}

bool Annotation::addText(int x, int y, const std::string& text, bool centered)
{
  return addText(pointAt(x, y), text, centered ? Placement::centered : Placement::leftBelow);
}

bool Annotation::addText(Point anchor, const std::string& text, Placement placement)
{
  return items().addText(anchor, text, placement, idIfCompound());
}

bool Annotation::addValueLabel(const std::string& label)
{
  return !showValue || addText(pointAt(valueAnchorX, valueAnchorY), label, Placement::centered);
}

void Annotation::calcTextBox(const std::string& text, float& width, float& height)
{
  const TextBox box(text);
  width = box.width;
  height = box.height;
}

bool Annotation::addIdentifiedGraphic(GraphicType type, const std::vector<Point>& points)
{
  return items().addGraphic(type, points, ownId());
}

bool Annotation::addCompound(GraphicType type, const std::vector<Point>& points,
                             const std::function<void(ElementWriter&)>& writeMore)
{
  return items().addCompound(type, points, ownId(), writeMore);
}

} // namespace impsconverter
