// Corners of displayed areas, and how they turn with the image.
#include "conformance/areaRules.h"

#include "base/text.h"
#include "conformance/references.h"

#include <algorithm>
#include <array>
#include <limits>

namespace tarn::conformance
{
namespace
{

constexpr double kMost = std::numeric_limits<Sint32>::max();
constexpr double kLeast = std::numeric_limits<Sint32>::min();

/// A column and a row, counted from 1.
using Corner = std::array<double, 2>;

struct Corners
{
  Corner topLeft;
  Corner bottomRight;
};

std::optional<Corner> cornerOf(const Placed& area, const DcmTagKey& tag)
{
  const auto& numbers = numbersOf(area, tag);
  if (!numbers || numbers->size() != 2 || !isWhole(numbers->front(), kLeast, kMost) ||
      !isWhole(numbers->back(), kLeast, kMost))
    return std::nullopt;
  return Corner{numbers->front(), numbers->back()};
}

/// Nothing also where an area that begins with the first pixel ends before it: the size was not known. Elsewhere an
/// area may reach beyond the image on any side.
std::optional<Corners> cornersOf(const Placed& area)
{
  const auto topLeft = cornerOf(area, DCM_DisplayedAreaTopLeftHandCorner);
  const auto bottomRight = cornerOf(area, DCM_DisplayedAreaBottomRightHandCorner);
  if (!topLeft || !bottomRight)
    return std::nullopt;
  for (const std::size_t axis : {0U, 1U})
    if ((*bottomRight)[axis] == 0 || ((*topLeft)[axis] == 1 && (*bottomRight)[axis] < 1))
      return std::nullopt;
  return Corners{*topLeft, *bottomRight};
}

void putCorner(const Placed& area, const DcmTagKey& tag, const Corner& corner)
{
  putText(area, tag, EVR_SL, base::joined(static_cast<Sint32>(corner[0]), "\\", static_cast<Sint32>(corner[1])));
}

void putCorners(const Placed& area, const Corners& corners)
{
  putCorner(area, DCM_DisplayedAreaTopLeftHandCorner, corners.topLeft);
  putCorner(area, DCM_DisplayedAreaBottomRightHandCorner, corners.bottomRight);
}

/// The size that all images which the area holds for have.
std::optional<ImageSize> sizeOfImages(Examination& state, const Manifest& manifest, const Placed& area)
{
  const std::vector<Reference> chosen = referencesOf(area);
  std::optional<ImageSize> common;
  for (const Reference& image : chosen.empty() ? manifest.images() : chosen)
  {
    const auto size = state.sizeOf(image.uid);
    if (!size || size->columns == 0 || size->rows == 0 || size->columns > kMost || size->rows > kMost)
      return std::nullopt;
    if (common && (size->columns != common->columns || size->rows != common->rows))
      return std::nullopt;
    common = size;
  }
  return common;
}

/// Which end of the columns and of the rows the top left corner of what is shown lies at, after a clockwise rotation
/// and then a flip from left to right.
struct Turned
{
  bool atLastColumn = false;
  bool atLastRow = false;
};

Turned turnedBy(const Placed& root)
{
  const double rotation = numberOf(root, DCM_ImageRotation).value_or(0);
  const bool isFlipped = textOf(root, DCM_ImageHorizontalFlip) == "Y";
  const bool isAcross = rotation == 90 || rotation == 270; // what is shown as a column is a row of the image
  Turned turned{rotation == 180 || rotation == 270, rotation == 90 || rotation == 180};
  if (isFlipped)
    (isAcross ? turned.atLastRow : turned.atLastColumn) ^= true;
  return turned;
}

Corners inOrder(Corners corners, const Turned& turned)
{
  const std::array<bool, 2> atLast{turned.atLastColumn, turned.atLastRow};
  for (const std::size_t axis : {0U, 1U})
    if ((corners.topLeft[axis] > corners.bottomRight[axis]) != atLast[axis] &&
        corners.topLeft[axis] != corners.bottomRight[axis])
      std::swap(corners.topLeft[axis], corners.bottomRight[axis]);
  return corners;
}

bool operator==(const Corners& left, const Corners& right)
{
  return left.topLeft == right.topLeft && left.bottomRight == right.bottomRight;
}

} // namespace

void examineAreaMissing(Examination& state)
{
  if (itemsOf(state.root(), DCM_DisplayedAreaSelectionSequence).empty())
    state.find(state.root(), DCM_DisplayedAreaSelectionSequence, "no area is said",
               [root = state.root()] { appendItem(root, DCM_DisplayedAreaSelectionSequence); });
}

/// The size that is looked up holds before that of an area of the input, which is the nearest before.
void examineAreaCorners(Examination& state)
{
  const Manifest& manifest = state.manifest();
  std::optional<Corners> before;
  for (const Placed& area : itemsOf(state.root(), DCM_DisplayedAreaSelectionSequence))
  {
    if (const auto corners = cornersOf(area))
    {
      before = corners;
      continue;
    }
    std::optional<Corners> supplied = manifest.only() ? before : std::nullopt;
    if (const auto size = sizeOfImages(state, manifest, area))
      supplied = Corners{{1, 1}, {static_cast<double>(size->columns), static_cast<double>(size->rows)}};
    if (supplied)
      state.find(area, "a corner is missing or no pixel", [area, corners = *supplied] { putCorners(area, corners); });
    else
      state.find(area, "a corner is missing or no pixel, and the size of the image is not known");
  }
}

void examineCornerOrder(Examination& state)
{
  const Turned turned = turnedBy(state.root());
  for (const Placed& area : itemsOf(state.root(), DCM_DisplayedAreaSelectionSequence))
    if (const auto corners = cornersOf(area))
      if (const Corners ordered = inOrder(*corners, turned); !(ordered == *corners))
        state.find(area, "the top left corner is not the one that rotation and flip bring there",
                   [area, ordered] { putCorners(area, ordered); });
}

void examineCornerZero(Examination& state)
{
  for (const Placed& area : itemsOf(state.root(), DCM_DisplayedAreaSelectionSequence))
    if (const auto corner = cornerOf(area, DCM_DisplayedAreaTopLeftHandCorner);
        corner && (corner->front() == 0 || corner->back() == 0))
      state.find(area, DCM_DisplayedAreaTopLeftHandCorner, "pixels count from 1");
}

void examineAreaSizes(Examination& state)
{
  const Manifest& manifest = state.manifest();
  for (const Placed& area : itemsOf(state.root(), DCM_DisplayedAreaSelectionSequence))
  {
    std::set<std::array<std::uint32_t, 2>> sizes;
    const std::vector<Reference> chosen = referencesOf(area);
    for (const Reference& image : chosen.empty() ? manifest.images() : chosen)
      if (const auto size = state.sizeOf(image.uid))
        sizes.insert({size->columns, size->rows});
    if (sizes.size() > 1)
      state.find(area, base::joined("it holds for images of ", sizes.size(), " sizes"));
  }
}

} // namespace tarn::conformance
