// Where the coordinates of graphics and texts lie.
#include "conformance/graphicRules.h"

#include "conformance/annotations.h"

#include <algorithm>
#include <array>

namespace tarn::conformance
{
namespace
{

/// An attribute with coordinates, and the one that says their units.
struct Coordinates
{
  DcmTagKey sequence;
  DcmTagKey units;
  DcmTagKey tag;
};

const std::array<Coordinates, 6>& allCoordinates()
{
  static const std::array<Coordinates, 6> kCoordinates{{
      {DCM_GraphicObjectSequence, DCM_GraphicAnnotationUnits, DCM_GraphicData},
      {DCM_TextObjectSequence, DCM_BoundingBoxAnnotationUnits, DCM_BoundingBoxTopLeftHandCorner},
      {DCM_TextObjectSequence, DCM_BoundingBoxAnnotationUnits, DCM_BoundingBoxBottomRightHandCorner},
      {DCM_TextObjectSequence, DCM_AnchorPointAnnotationUnits, DCM_AnchorPoint},
      {DCM_CompoundGraphicSequence, DCM_CompoundGraphicUnits, DCM_GraphicData},
      {DCM_CompoundGraphicSequence, DCM_CompoundGraphicUnits, DCM_RotationPoint},
  }};
  return kCoordinates;
}

bool isOutside(const std::vector<Float32>& values, Float32 columns, Float32 rows)
{
  for (std::size_t i = 0; i < values.size(); ++i)
    if (values[i] < 0 || values[i] > (i % 2 == 0 ? columns : rows))
      return true;
  return false;
}

/// Finds coordinates in `units` that are not in the range from 0 to (columns, rows).
void examineRange(Examination& state, const char* units, Float32 columns, Float32 rows, const char* text)
{
  for (const Coordinates& kind : allCoordinates())
    for (const Placed& object : state.objects(kind.sequence))
    {
      if (textOf(object, kind.units) != units)
        continue;
      const std::vector<Float32>& values = coordinatesOf(object, kind.tag);
      if (areFinite(values) && isOutside(values, columns, rows))
        state.find(object, kind.tag, text);
    }
}

/// The one image of the state; nothing where it refers to several.
std::optional<Placed> onlyImage(Examination& state)
{
  std::vector<Placed> images;
  for (const Placed& series : itemsOf(state.root(), DCM_ReferencedSeriesSequence))
    for (const Placed& image : itemsOf(series, DCM_ReferencedImageSequence))
      images.push_back(image);
  return images.size() == 1 ? std::make_optional(images.front()) : std::nullopt;
}

/// Whether images of the class have a total pixel matrix (PS3.3 C.8.12.4.1.4).
bool canBeTiled(const std::string& sopClass)
{
  constexpr std::array<const char*, 4> kTiled{
      UID_VLWholeSlideMicroscopyImageStorage, UID_SegmentationStorage, UID_ParametricMapStorage,
      "1.2.840.10008.5.1.4.1.1.77.1.9" /* Confocal Microscopy Tiled Pyramidal Image */};
  return std::find(kTiled.begin(), kTiled.end(), sopClass) != kTiled.end();
}

bool isFinite(const Placed& object, const DcmTagKey& tag)
{
  return areFinite(coordinatesOf(object, tag));
}

// The ways in which a text has its place. One of them is enough (C.10.5).
const std::array<DcmTagKey, 4> kBox{DCM_BoundingBoxTopLeftHandCorner, DCM_BoundingBoxBottomRightHandCorner,
                                    DCM_BoundingBoxAnnotationUnits, DCM_BoundingBoxTextHorizontalJustification};
const std::array<DcmTagKey, 3> kAnchor{DCM_AnchorPoint, DCM_AnchorPointAnnotationUnits, DCM_AnchorPointVisibility};

bool hasFiniteBox(const Placed& text)
{
  return hasValue(text, kBox[0]) && hasValue(text, kBox[1]) && isFinite(text, kBox[0]) && isFinite(text, kBox[1]);
}

bool hasFiniteAnchor(const Placed& text)
{
  return hasValue(text, kAnchor[0]) && isFinite(text, kAnchor[0]);
}

} // namespace

void examineTextPlacesFinite(Examination& state)
{
  const auto removal = [](const Placed& text, const auto& tags)
  {
    return [text, &tags]
    {
      for (const DcmTagKey& tag : tags)
        remove(text, tag);
    };
  };
  for (const Placed& text : state.objects(DCM_TextObjectSequence))
    if (!isFinite(text, kAnchor[0]) && hasFiniteBox(text))
      state.find(text, kAnchor[0], "a coordinate is not finite", removal(text, kAnchor));
    else if (!(isFinite(text, kBox[0]) && isFinite(text, kBox[1])) && hasFiniteAnchor(text))
      state.find(text, kBox[0], "a coordinate of the box is not finite", removal(text, kBox));
}

void examineCoordinatesFinite(Examination& state)
{
  const auto dropped = Replacements::make();
  for (const DcmTagKey& sequence : {DCM_TextObjectSequence, DCM_GraphicObjectSequence, DCM_CompoundGraphicSequence})
    for (const Placed& object : state.objects(sequence))
    {
      const auto isBroken = [&](const Coordinates& kind)
      { return kind.sequence == sequence && !isFinite(object, kind.tag); };
      const auto broken = std::find_if(allCoordinates().begin(), allCoordinates().end(), isBroken);
      if (broken != allCoordinates().end() && !hasFiniteBox(object) && !hasFiniteAnchor(object))
        state.find(object, broken->tag, "a coordinate is not finite", dropped->drop(object));
    }
}

void examineDisplayCoordinates(Examination& state)
{
  examineRange(state, "DISPLAY", 1, 1, "it lies outside the displayed area, from 0 to 1");
}

void examineMatrixUnits(Examination& state)
{
  bool isTiled = false;
  for (const Placed& series : itemsOf(state.root(), DCM_ReferencedSeriesSequence))
    for (const Placed& image : itemsOf(series, DCM_ReferencedImageSequence))
      isTiled = isTiled || canBeTiled(textOf(image, DCM_ReferencedSOPClassUID));
  if (isTiled)
    return;
  for (const Coordinates& kind : allCoordinates())
    if (kind.tag != DCM_BoundingBoxBottomRightHandCorner && kind.tag != DCM_RotationPoint) // the units of another row
      for (const Placed& object : state.objects(kind.sequence))
        if (textOf(object, kind.units) == "MATRIX")
          state.find(object, kind.units, "no image is tiled");
}

void examineCoordinatesInImage(Examination& state)
{
  const std::optional<Placed> image = onlyImage(state);
  const auto size = image ? state.sizeOf(textOf(*image, DCM_ReferencedSOPInstanceUID)) : std::nullopt;
  if (size && size->columns > 0 && size->rows > 0)
    examineRange(state, "PIXEL", static_cast<Float32>(size->columns), static_cast<Float32>(size->rows),
                 "it lies outside the image");
}

} // namespace tarn::conformance
