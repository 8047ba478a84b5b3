// Graphic objects: their points, and how they are closed.
#include "conformance/graphicRules.h"

#include "conformance/annotations.h"
#include "conformance/attributes.h"

#include <algorithm>
#include <cmath>

namespace tarn::conformance
{
namespace
{

// Graphic Data of more points has no place in a value of the VR FL in explicit VR (PS3.5 7.1.2).
constexpr std::size_t kMostPoints = 8191;

const std::vector<Placed>& graphicsOf(Examination& state)
{
  return state.objects(DCM_GraphicObjectSequence);
}

bool isOutline(const std::string& type)
{
  return type == "POLYLINE" || type == "INTERPOLATED";
}

/// PS3.3 C.10.5.1.2; 0 where the type does not say.
std::size_t pointsOf(const std::string& type)
{
  if (type == "POINT")
    return 1;
  if (type == "CIRCLE")
    return 2;
  return type == "ELLIPSE" ? 4 : 0;
}

bool hasTracking(const Placed& graphic)
{
  return has(graphic, DCM_TrackingID) || has(graphic, DCM_TrackingUID);
}

const std::vector<Attribute>& graphicAttributes()
{
  static const std::vector<Attribute> kAttributes{
      {DCM_GraphicAnnotationUnits, Form::term, always, {"PIXEL", "DISPLAY", "MATRIX"}},
      {DCM_GraphicType, Form::term, always, {"POINT", "POLYLINE", "INTERPOLATED", "CIRCLE", "ELLIPSE"}},
      {DCM_TrackingID, Form::any, hasTracking},
      {DCM_TrackingUID, Form::any, hasTracking},
      {DCM_CompoundGraphicInstanceID, Form::whole, nullptr},
      {DCM_GraphicGroupID, Form::whole, nullptr}};
  return kAttributes;
}

Replacements::Items splitOutline(const Placed& graphic)
{
  const std::vector<Float32>& data = coordinatesOf(graphic, DCM_GraphicData);
  remove(graphic, DCM_GraphicData); // it would be copied with each piece
  Replacements::Items pieces;
  constexpr std::size_t kMost = 2 * kMostPoints;
  for (std::size_t start = 0; pieces.empty() || start + 2 < data.size(); start += kMost - 2)
  {
    const std::size_t end = std::min(start + kMost, data.size());
    pieces.push_back(std::make_unique<DcmItem>(graphic.item));
    const Placed piece = graphic.contents.state.apart(*pieces.back());
    using Distance = std::vector<Float32>::difference_type;
    putCoordinates(piece, DCM_GraphicData,
                   {data.begin() + static_cast<Distance>(start), data.begin() + static_cast<Distance>(end)});
    putNumber(piece, DCM_NumberOfGraphicPoints, static_cast<Uint16>((end - start) / 2));
    if (!isClosed(piece)) // the whole may have been
      remove(piece, DCM_GraphicFilled);
  }
  return pieces;
}

/// The ends of the two axes of an ellipse; none for other shapes.
std::vector<Float32> axesOf(const Placed& graphic)
{
  std::vector<Float32> data = coordinatesOf(graphic, DCM_GraphicData);
  constexpr std::size_t kValues = 8;
  if (textOf(graphic, DCM_GraphicType) != "ELLIPSE" || data.size() != kValues)
    data.clear();
  return data;
}

double lengthOf(const std::vector<Float32>& ends, std::size_t from)
{
  return std::hypot(double{ends[from + 2]} - ends[from], double{ends[from + 3]} - ends[from + 1]);
}

} // namespace

void examineGraphicDataVr(Examination& state)
{
  for (const DcmTagKey& sequence : {DCM_GraphicObjectSequence, DCM_CompoundGraphicSequence})
    for (const Placed& graphic : state.objects(sequence))
    {
      DcmElement* const element = elementOf(graphic, DCM_GraphicData);
      if (!element || element->ident() == EVR_FL)
        continue;
      std::vector<Float32> data = coordinatesOf(graphic, DCM_GraphicData);
      if (data.size() > 2 * kMostPoints) // examineLongOutlines
        continue;
      Examination::Remedy retype;
      if (!data.empty())
        retype = [graphic, data = std::move(data)] { putCoordinates(graphic, DCM_GraphicData, data); };
      state.find(graphic, DCM_GraphicData, "its VR is not FL", std::move(retype));
    }
}

void examineGraphicDimensions(Examination& state)
{
  for (const DcmTagKey& sequence : {DCM_GraphicObjectSequence, DCM_CompoundGraphicSequence})
    for (const Placed& graphic : state.objects(sequence))
      if (!hasValue(graphic, DCM_GraphicDimensions))
        state.find(graphic, DCM_GraphicDimensions, "it is missing",
                   [graphic] { putNumber(graphic, DCM_GraphicDimensions, 2); });
      else if (numberOf(graphic, DCM_GraphicDimensions) != 2)
        state.find(graphic, DCM_GraphicDimensions, "it is not 2");
}

void examineLongOutlines(Examination& state)
{
  const auto replaced = Replacements::make();
  for (const Placed& graphic : graphicsOf(state))
  {
    const std::size_t values = coordinatesOf(graphic, DCM_GraphicData).size();
    if (values <= 2 * kMostPoints)
      continue;
    Examination::Remedy split;
    if (isOutline(textOf(graphic, DCM_GraphicType)) && values % 2 == 0)
      split = replaced->remedy(graphic, [graphic] { return splitOutline(graphic); });
    state.find(graphic, DCM_GraphicData, "it has " + std::to_string(values / 2) + " points", std::move(split));
  }
}

void examinePointCounts(Examination& state)
{
  for (const DcmTagKey& sequence : {DCM_GraphicObjectSequence, DCM_CompoundGraphicSequence})
    for (const Placed& graphic : state.objects(sequence))
    {
      const std::size_t values = coordinatesOf(graphic, DCM_GraphicData).size();
      const std::size_t points = values / 2;
      if (values == 0 || values % 2 != 0 || points > kMostPoints ||
          numberOf(graphic, DCM_NumberOfGraphicPoints) == static_cast<double>(points))
        continue;
      state.find(graphic, DCM_NumberOfGraphicPoints, "Graphic Data has " + std::to_string(points) + " points",
                 [graphic, points] { putNumber(graphic, DCM_NumberOfGraphicPoints, static_cast<Uint16>(points)); });
    }
}

void examineSinglePointOutlines(Examination& state)
{
  for (const Placed& graphic : graphicsOf(state))
    if (isOutline(textOf(graphic, DCM_GraphicType)) && coordinatesOf(graphic, DCM_GraphicData).size() == 2)
      state.find(graphic, DCM_GraphicType, "the outline has one point",
                 [graphic] { putText(graphic, DCM_GraphicType, EVR_CS, "POINT"); });
}

void examineGraphicAttributes(Examination& state)
{
  for (const Placed& graphic : graphicsOf(state))
    examineAttributes(state, graphic, graphicAttributes());
}

void examineGraphicData(Examination& state)
{
  for (const Placed& graphic : graphicsOf(state))
  {
    const std::size_t values = coordinatesOf(graphic, DCM_GraphicData).size();
    const std::string& type = textOf(graphic, DCM_GraphicType);
    const std::size_t points = pointsOf(type);
    if (values == 0)
      state.find(graphic, DCM_GraphicData, "there are no coordinates");
    else if (values % 2 != 0)
      state.find(graphic, DCM_GraphicData, "a point has one coordinate");
    else if (points > 0 && values != 2 * points)
      state.find(graphic, DCM_GraphicData, type + " has " + std::to_string(values / 2) + " points");
  }
}

void examineClosedGraphics(Examination& state)
{
  for (const Placed& graphic : graphicsOf(state))
    if (const std::string& filled = textOf(graphic, DCM_GraphicFilled);
        filled != "Y" && filled != "N" && isClosed(graphic))
      state.find(graphic, DCM_GraphicFilled, "it does not say whether the closed shape is filled",
                 [graphic] { putText(graphic, DCM_GraphicFilled, EVR_CS, "N"); });
}

void examineOpenGraphics(Examination& state)
{
  for (const Placed& graphic : graphicsOf(state))
    if (has(graphic, DCM_GraphicFilled) && !isClosed(graphic))
      state.find(graphic, DCM_GraphicFilled, "the shape is not closed",
                 [graphic] { remove(graphic, DCM_GraphicFilled); });
}

void examineEllipseAxes(Examination& state)
{
  for (const Placed& graphic : graphicsOf(state))
  {
    std::vector<Float32> axes = axesOf(graphic);
    if (axes.empty() || !(lengthOf(axes, 4) > lengthOf(axes, 0)))
      continue;
    std::rotate(axes.begin(), axes.begin() + 4, axes.end());
    state.find(graphic, DCM_GraphicData, "the shorter axis is first",
               [graphic, axes = std::move(axes)] { putCoordinates(graphic, DCM_GraphicData, axes); });
  }
}

void examineEllipseAngles(Examination& state)
{
  constexpr double kTolerance = 0.02;     // of the product of the lengths: about a degree
  constexpr double kPixelTolerance = 1.0; // both axes are drawn on pixels
  for (const Placed& graphic : graphicsOf(state))
  {
    const std::vector<Float32> axes = axesOf(graphic);
    if (axes.empty())
      continue;
    const double product = (double{axes[2]} - axes[0]) * (double{axes[6]} - axes[4]) +
                           (double{axes[3]} - axes[1]) * (double{axes[7]} - axes[5]);
    const double first = lengthOf(axes, 0);
    const double second = lengthOf(axes, 4);
    if (std::abs(product) > kTolerance * first * second + kPixelTolerance * (first + second))
      state.find(graphic, DCM_GraphicData, "the axes are not perpendicular");
  }
}

} // namespace tarn::conformance
