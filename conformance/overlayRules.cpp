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
  const std::string type = textOf(root, overlayTag(DCM_OverlayType, group));
  if (type != "G" && type != "R")
    return "its type is neither G nor R";
  const auto origin = numbersOf(root, overlayTag(DCM_OverlayOrigin, group));
  if (!origin || origin->size() != 2)
    return "its origin is not a row and a column";
  if (number(DCM_OverlayBitsAllocated) != 1 || number(DCM_OverlayBitPosition) != 0)
    return "it has not one bit for each pixel";
  const double frames = number(DCM_NumberOfFramesInOverlay).value_or(1);
  DcmElement* data = nullptr;
  if (root.item.findAndGetElement(overlayTag(DCM_OverlayData, group), data).bad() || !data->isLeaf() ||
      !isWhole(frames, 1, kMostFrames) || data->getLengthField() * 8.0 < *rows * *columns * frames)
    return "its data are missing, or shorter than rows and columns say";
  return "";
}

/// The highest order of a layer; layers are drawn in ascending order.
double highestOrder(const std::vector<Placed>& layers)
{
  double highest = 0;
  for (const Placed& layer : layers)
    highest = std::max(highest, numberOf(layer, DCM_GraphicLayerOrder).value_or(0));
  return highest;
}

void declareLayer(const Placed& root, const std::string& name)
{
  const double order = highestOrder(itemsOf(root, DCM_GraphicLayerSequence));
  const Placed layer{appendItem(root, DCM_GraphicLayerSequence), ""};
  putText(layer, DCM_GraphicLayer, EVR_CS, name);
  constexpr double kMost = std::numeric_limits<Sint32>::max();
  putText(layer, DCM_GraphicLayerOrder, EVR_IS, base::joined(static_cast<Sint32>(std::min(order + 1, kMost))));
}

} // namespace

std::vector<Uint16> overlayGroups(const Placed& root)
{
  std::set<Uint16> groups;
  for (const DcmObject* element : dicom::contentsOf(root.item))
    if (const Uint16 group = element->getGTag(); group >= kFirstGroup && group <= kLastGroup && group % 2 == 0)
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

void examineOverlayLayers(Examination& state)
{
  const Placed root = state.root();
  std::set<std::string> declared;
  for (const Placed& layer : itemsOf(root, DCM_GraphicLayerSequence))
    declared.insert(textOf(layer, DCM_GraphicLayer));
  for (const Uint16 group : overlayGroups(root))
    if (const DcmTagKey tag = overlayTag(DCM_OverlayActivationLayer, group); has(root, tag))
      if (const std::string layer = textOf(root, tag); !layer.empty() && declared.insert(layer).second)
        state.find(root, tag, "the layer '" + layer + "' is not declared",
                   [root, layer] { declareLayer(root, layer); });
}

} // namespace tarn::conformance
