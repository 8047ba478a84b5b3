// Text objects: what they say, and where.
#include "conformance/textObjectRules.h"

#include "conformance/annotations.h"
#include "conformance/attributes.h"

#include "dicom/uid.h"

namespace tarn::conformance
{
namespace
{

bool hasBox(const Placed& text)
{
  return has(text, DCM_BoundingBoxTopLeftHandCorner) || has(text, DCM_BoundingBoxBottomRightHandCorner);
}

bool hasAnchor(const Placed& text)
{
  return has(text, DCM_AnchorPoint);
}

bool hasTracking(const Placed& text)
{
  return has(text, DCM_TrackingID) || has(text, DCM_TrackingUID);
}

const std::vector<Attribute>& textAttributes()
{
  static const std::vector<Attribute> kAttributes{
      {DCM_BoundingBoxAnnotationUnits, Form::term, hasBox, {"PIXEL", "DISPLAY", "MATRIX"}},
      {DCM_BoundingBoxTopLeftHandCorner, Form::point, hasBox},
      {DCM_BoundingBoxBottomRightHandCorner, Form::point, hasBox},
      {DCM_BoundingBoxTextHorizontalJustification, Form::term, hasBox, {"LEFT", "RIGHT", "CENTER"}},
      {DCM_AnchorPointAnnotationUnits, Form::term, hasAnchor, {"PIXEL", "DISPLAY", "MATRIX"}},
      {DCM_AnchorPoint, Form::point, hasAnchor},
      {DCM_AnchorPointVisibility, Form::term, hasAnchor, {"Y", "N"}},
      {DCM_TrackingID, Form::any, hasTracking},
      {DCM_TrackingUID, Form::any, hasTracking},
      {DCM_CompoundGraphicInstanceID, Form::whole, nullptr},
      {DCM_GraphicGroupID, Form::whole, nullptr}};
  return kAttributes;
}

} // namespace

void examineEmptyTexts(Examination& state)
{
  const auto dropped = Replacements::make();
  for (const Placed& text : state.objects(DCM_TextObjectSequence))
    if (textOf(text, DCM_UnformattedTextValue).find_first_not_of(" \r\n") == std::string::npos)
      state.find(text, DCM_UnformattedTextValue, "there is no text", dropped->drop(text));
}

void examineTextPlaces(Examination& state)
{
  for (const Placed& text : state.objects(DCM_TextObjectSequence))
    if (!hasValue(text, DCM_AnchorPoint) &&
        !(hasValue(text, DCM_BoundingBoxTopLeftHandCorner) && hasValue(text, DCM_BoundingBoxBottomRightHandCorner)))
      state.find(text, "it has neither a bounding box nor an anchor point");
}

void examineTextAttributes(Examination& state)
{
  for (const Placed& text : state.objects(DCM_TextObjectSequence))
    examineAttributes(state, text, textAttributes());
}

/// C.10.5.1.1 lets the corners stand in any order where they are turned with the image.
void examineTextBoxOrder(Examination& state)
{
  if (numberOf(state.root(), DCM_ImageRotation).value_or(0) != 0 ||
      textOf(state.root(), DCM_ImageHorizontalFlip) == "Y")
    return;
  for (const Placed& text : state.objects(DCM_TextObjectSequence))
  {
    const std::vector<Float32>& first = coordinatesOf(text, DCM_BoundingBoxTopLeftHandCorner);
    const std::vector<Float32>& last = coordinatesOf(text, DCM_BoundingBoxBottomRightHandCorner);
    if (first.size() == 2 && last.size() == 2 && areFinite(first) && areFinite(last) &&
        (first[0] > last[0] || first[1] > last[1]))
      state.find(text, DCM_BoundingBoxTopLeftHandCorner, "it lies right of the other corner, or below it");
  }
}

} // namespace tarn::conformance
