// Overlays and the layers that they are drawn in.
#include "conformance/planeRules.h"

#include "base/text.h"
#include "conformance/overlays.h"
#include "dicom/contents.h"

#include <algorithm>
#include <limits>
#include <set>

namespace tarn::conformance
{
namespace
{

constexpr Uint16 kFirstGroup = 0x6000, kLastGroup = 0x601E;

std::string faultOfPlane(const Placed& root, Uint16 group)
{
  constexpr double kMost = 0xFFFF, kMostFrames = std::numeric_limits<Sint32>::max();
  const auto number = [&root, group](const DcmTagKey& tag) { return numberOf(root, overlayTag(tag, group)); };
  const auto rows = number(DCM_OverlayRows), columns = number(DCM_OverlayColumns);
  if (!isWhole(rows, 1, kMost) || !isWhole(columns, 1, kMost))
    return "the overlay has no rows or columns";
  const std::string& type = textOf(root, overlayTag(DCM_OverlayType, group));
  if (type != "G" && type != "R")
    return "its type is neither G nor R";
  const auto& origin = numbersOf(root, overlayTag(DCM_OverlayOrigin, group));
  if (!origin || origin->size() != 2)
    return "its origin is not a row and a column";
  if (number(DCM_OverlayBitsAllocated) != 1 || number(DCM_OverlayBitPosition) != 0)
    return "it has not one bit for each pixel";
  const double frames = number(DCM_NumberOfFramesInOverlay).value_or(1);
  DcmElement* const data = elementOf(root, overlayTag(DCM_OverlayData, group));
  if (!data || !data->isLeaf() || !isWhole(frames, 1, kMostFrames) ||
      data->getLengthField() * 8.0 < *rows * *columns * frames)
    return "its data are missing, or shorter than rows and columns say";
  return "";
}

} // namespace

std::vector<Uint16> overlayGroups(const Placed& root)
{
  std::set<Uint16> groups;
  for (const Contents::Entry& entry : elementsOf(root))
    if (const Uint16 group = entry.element->getGTag(); group >= kFirstGroup && group <= kLastGroup && group % 2 == 0)
      groups.insert(group);
  return {groups.begin(), groups.end()};
}

bool hasPlane(const Placed& root, Uint16 group)
{
  const DcmTagKey kParts[] = {DCM_OverlayRows, DCM_OverlayColumns, DCM_OverlayType, DCM_OverlayOrigin, DCM_OverlayData};
  return std::any_of(std::begin(kParts), std::end(kParts),
                     [&root, group](const DcmTagKey& tag) { return has(root, overlayTag(tag, group)); });
}

void examineOverlays(Examination& state)
{
  const Placed root = state.root();
  for (const Uint16 group : overlayGroups(root))
    if (hasPlane(root, group))
      if (const std::string fault = faultOfPlane(root, group); !fault.empty())
        state.find(root, overlayTag(DCM_OverlayData, group), fault);
}

} // namespace tarn::conformance
