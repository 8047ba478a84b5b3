// Shutters and masks.
#include "conformance/planeRules.h"

#include "conformance/overlays.h"

#include <algorithm>
#include <limits>

namespace tarn::conformance
{
namespace
{

constexpr double kMost = std::numeric_limits<Sint32>::max();
constexpr char kBitmap[] = "BITMAP";

bool contains(const std::vector<std::string>& texts, const char* text)
{
  return std::find(texts.begin(), texts.end(), text) != texts.end();
}

void requireEdges(Examination& state, const DcmTagKey& low, const DcmTagKey& high)
{
  const auto first = numberOf(state.root(), low), last = numberOf(state.root(), high);
  if (!isWhole(first, -kMost, kMost) || !isWhole(last, -kMost, kMost) || *first >= *last)
    state.find(state.root(), high, "the edge does not lie behind the one opposite, or one of them is missing");
}

} // namespace

/// Edges, circle, corners and bitmap stand with their shape alone.
void examineShutterParts(Examination& state)
{
  const std::pair<const char*, DcmTagKey> kParts[] = {
      {"RECTANGULAR", DCM_ShutterLeftVerticalEdge},     {"RECTANGULAR", DCM_ShutterRightVerticalEdge},
      {"RECTANGULAR", DCM_ShutterUpperHorizontalEdge},  {"RECTANGULAR", DCM_ShutterLowerHorizontalEdge},
      {"CIRCULAR", DCM_CenterOfCircularShutter},        {"CIRCULAR", DCM_RadiusOfCircularShutter},
      {"POLYGONAL", DCM_VerticesOfThePolygonalShutter}, {kBitmap, DCM_ShutterOverlayGroup}};
  const Placed root = state.root();
  const std::vector<std::string> shapes = textsOf(root, DCM_ShutterShape);
  for (const auto& [shape, part] : kParts)
    if (!shapes.empty() && has(root, part) && !contains(shapes, shape))
      state.find(root, part, std::string("the shutter is not ") + shape, removing(root, part));
}

void examineShutterShape(Examination& state)
{
  const Placed root = state.root();
  const DcmTagKey kParts[] = {DCM_ShutterShape,
                              DCM_ShutterLeftVerticalEdge,
                              DCM_ShutterRightVerticalEdge,
                              DCM_ShutterUpperHorizontalEdge,
                              DCM_ShutterLowerHorizontalEdge,
                              DCM_CenterOfCircularShutter,
                              DCM_RadiusOfCircularShutter,
                              DCM_VerticesOfThePolygonalShutter,
                              DCM_ShutterOverlayGroup};
  if (std::none_of(std::begin(kParts), std::end(kParts), [&root](const DcmTagKey& tag) { return has(root, tag); }))
    return;
  const std::vector<std::string> shapes = textsOf(root, DCM_ShutterShape);
  std::size_t known = 0;
  for (const char* shape : {"RECTANGULAR", "CIRCULAR", "POLYGONAL"})
    known += contains(shapes, shape) ? 1 : 0;
  if (shapes != std::vector<std::string>{kBitmap} && (known == 0 || known != shapes.size()))
    state.find(root, DCM_ShutterShape, "it is neither BITMAP nor one or several of the other shapes, each once");
}

void examineShutterGeometry(Examination& state)
{
  const Placed root = state.root();
  const std::vector<std::string> shapes = textsOf(root, DCM_ShutterShape);
  if (contains(shapes, "RECTANGULAR"))
  {
    requireEdges(state, DCM_ShutterLeftVerticalEdge, DCM_ShutterRightVerticalEdge);
    requireEdges(state, DCM_ShutterUpperHorizontalEdge, DCM_ShutterLowerHorizontalEdge);
  }
  if (contains(shapes, "CIRCULAR"))
  {
    if (const auto& center = numbersOf(root, DCM_CenterOfCircularShutter); !center || center->size() != 2)
      state.find(root, DCM_CenterOfCircularShutter, "it is not a row and a column");
    if (!isWhole(numberOf(root, DCM_RadiusOfCircularShutter), 1, kMost))
      state.find(root, DCM_RadiusOfCircularShutter, "it is not a number of pixels above 0");
  }
  if (contains(shapes, "POLYGONAL"))
    if (const auto& numbers = numbersOf(root, DCM_VerticesOfThePolygonalShutter);
        !numbers || numbers->size() < 6 || numbers->size() % 2 != 0)
      state.find(root, DCM_VerticesOfThePolygonalShutter,
                 "it is not a row and a column of each of three corners or more");
}

void examineShutterValue(Examination& state)
{
  const Placed root = state.root();
  constexpr double kWhite = 0xFFFF;
  if (has(root, DCM_ShutterShape) && !isWhole(numberOf(root, DCM_ShutterPresentationValue), 0, kWhite))
    state.find(root, DCM_ShutterPresentationValue, "the shutter has no grey value",
               puttingText(root, DCM_ShutterPresentationValue, EVR_US, "0"));
}

/// The overlay of a bitmap is the shutter, and is not drawn as an overlay.
void examineShutterOverlay(Examination& state)
{
  const Placed root = state.root();
  if (!contains(textsOf(root, DCM_ShutterShape), kBitmap))
    return;
  const auto group = numberOf(root, DCM_ShutterOverlayGroup);
  const std::vector<Uint16> groups = overlayGroups(root);
  const auto plane =
      std::find_if(groups.begin(), groups.end(), [&group](Uint16 one) { return group && one == *group; });
  if (plane == groups.end() || !hasPlane(root, *plane))
    state.find(root, DCM_ShutterOverlayGroup, "the state has no such overlay");
  else if (const DcmTagKey layer = overlayTag(DCM_OverlayActivationLayer, *plane); hasValue(root, layer))
    state.find(root, layer, "the overlay is the shutter's bitmap");
}

void examineMask(Examination& state)
{
  const Placed root = state.root();
  if (!has(root, DCM_MaskSubtractionSequence))
    return;
  const std::vector<Placed>& masks = itemsOf(root, DCM_MaskSubtractionSequence);
  if (masks.size() != 1)
    state.find(root, DCM_MaskSubtractionSequence, "the sequence does not have one item");
  for (const Placed& mask : masks)
  {
    const std::string& operation = textOf(mask, DCM_MaskOperation);
    if (operation != "AVG_SUB" && operation != "TID")
      state.find(mask, DCM_MaskOperation, "'" + operation + "' is neither AVG_SUB nor TID");
    if (operation == "AVG_SUB" && !numbersOf(mask, DCM_MaskFrameNumbers))
      state.find(mask, DCM_MaskFrameNumbers, "no frame is subtracted");
    if (!isWhole(numberOf(mask, DCM_ContrastFrameAveraging), 1, kMost))
      state.find(mask, DCM_ContrastFrameAveraging, "it is not a number of frames");
  }
  if (textOf(root, DCM_RecommendedViewingMode) != "SUB")
    state.find(root, DCM_RecommendedViewingMode, "a mask is there for SUB alone");
}

} // namespace tarn::conformance
