// Annotation items and their layers.
#include "conformance/layerRules.h"

#include "conformance/annotations.h"
#include "conformance/attributes.h"
#include "conformance/values.h"

#include "dicom/contents.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <set>

namespace tarn::conformance
{
namespace
{

const std::vector<Placed>& layersOf(const Placed& root)
{
  return itemsOf(root, DCM_GraphicLayerSequence);
}

bool isEmptyAnnotation(const Placed& annotation)
{
  return !hasValue(annotation, DCM_TextObjectSequence) && !hasValue(annotation, DCM_GraphicObjectSequence) &&
         !hasValue(annotation, DCM_CompoundGraphicSequence);
}

/// The layers that overlays and curves are drawn in: Overlay and Curve Activation Layer (PS3.3 C.11.7).
std::vector<std::pair<DcmTagKey, std::string>> activatedLayers(const Placed& root)
{
  constexpr Uint16 kActivation = 0x1001;
  constexpr Uint16 kRepeats = 0xFF00;
  constexpr Uint16 kCurves = 0x5000;
  constexpr Uint16 kOverlays = 0x6000;
  std::vector<std::pair<DcmTagKey, std::string>> layers;
  for (const Contents::Entry& entry : elementsOf(root))
  {
    const DcmTagKey tag = entry.element->getTag();
    const Uint16 family = tag.getGroup() & kRepeats;
    if (tag.getElement() == kActivation && tag.getGroup() % 2 == 0 && (family == kCurves || family == kOverlays))
      if (const std::string& layer = textOf(root, tag); !layer.empty())
        layers.emplace_back(tag, layer);
  }
  return layers;
}

/// How many annotation items, overlays and curves are drawn in each layer.
std::map<std::string, std::size_t> usesOfLayers(Examination& state)
{
  std::map<std::string, std::size_t> uses;
  for (const Placed& annotation : annotationsOf(state))
    ++uses[textOf(annotation, DCM_GraphicLayer)];
  for (const auto& [tag, layer] : activatedLayers(state.root()))
    ++uses[layer];
  return uses;
}

/// Orders after those of all layers that have one.
class NextOrder
{
public:
  explicit NextOrder(const Placed& root)
  {
    for (const Placed& layer : layersOf(root))
      if (const auto number = numberOf(layer, DCM_GraphicLayerOrder); number && *number <= kMost)
        last = std::max(last, std::floor(*number));
  }

  std::string next()
  {
    last = std::min(last + 1, kMost);
    return std::to_string(static_cast<std::int64_t>(last));
  }

private:
  static constexpr double kMost = 2147483647; // PS3.5 6.2, IS
  double last = 0;
};

void declareLayer(const Placed& root, const std::string& name, const std::string& order)
{
  const Placed layer = appendItem(root, DCM_GraphicLayerSequence);
  putText(layer, DCM_GraphicLayer, EVR_CS, name);
  putText(layer, DCM_GraphicLayerOrder, EVR_IS, order);
}

} // namespace

void examineEmptySequences(Examination& state)
{
  const auto examine = [&state](const Placed& holder, const DcmTagKey& sequence)
  {
    if (has(holder, sequence) && itemsOf(holder, sequence).empty())
      state.find(holder, sequence, "it has no item", [holder, sequence] { remove(holder, sequence); });
  };
  for (const DcmTagKey& sequence : {DCM_GraphicAnnotationSequence, DCM_GraphicLayerSequence, DCM_GraphicGroupSequence})
    examine(state.root(), sequence);
  for (const Placed& annotation : annotationsOf(state))
    for (const DcmTagKey& sequence : {DCM_TextObjectSequence, DCM_GraphicObjectSequence, DCM_CompoundGraphicSequence})
      examine(annotation, sequence);
}

/// With the last annotation of a layer goes the layer.
void examineEmptyAnnotations(Examination& state)
{
  std::map<std::string, std::size_t> uses = usesOfLayers(state);
  std::map<std::string, std::vector<Examination::Remedy>> unused;
  const auto dropped = Replacements::make();
  const std::vector<Placed>& annotations = annotationsOf(state);
  for (const Placed& annotation : annotations)
    if (const std::string& name = textOf(annotation, DCM_GraphicLayer);
        isEmptyAnnotation(annotation) && --uses[name] == 0)
      unused[name];
  for (const Placed& layer : layersOf(state.root()))
    if (const auto found = unused.find(textOf(layer, DCM_GraphicLayer)); found != unused.end())
      found->second.push_back(dropped->drop(layer));
  for (const Placed& annotation : annotations)
    if (isEmptyAnnotation(annotation))
    {
      std::vector<Examination::Remedy> drops{dropped->drop(annotation)};
      if (const auto found = unused.find(textOf(annotation, DCM_GraphicLayer)); found != unused.end())
        drops.insert(drops.end(), found->second.begin(), found->second.end());
      unused.erase(textOf(annotation, DCM_GraphicLayer));
      state.find(annotation, "it has neither texts nor graphics",
                 [drops = std::move(drops)]
                 {
                   for (const Examination::Remedy& drop : drops)
                     drop();
                 });
    }
}

void examineAnnotationLayers(Examination& state)
{
  for (const Placed& annotation : annotationsOf(state))
    if (!hasValue(annotation, DCM_GraphicLayer))
      state.find(annotation, DCM_GraphicLayer, "it is missing");
}

void examineDeclaredLayers(Examination& state)
{
  std::set<std::string> declared;
  for (const Placed& layer : layersOf(state.root()))
    declared.insert(textOf(layer, DCM_GraphicLayer));
  NextOrder orders(state.root());
  const auto examine = [&](const Placed& where, const DcmTagKey& tag, const std::string& name)
  {
    if (!name.empty() && declared.insert(name).second)
      state.find(where, tag, "the layer '" + name + "' is not declared",
                 [root = state.root(), name, order = orders.next()] { declareLayer(root, name, order); });
  };
  for (const Placed& annotation : annotationsOf(state))
    examine(annotation, DCM_GraphicLayer, textOf(annotation, DCM_GraphicLayer));
  for (const auto& [tag, layer] : activatedLayers(state.root()))
    examine(state.root(), tag, layer);
}

void examineLayerNames(Examination& state)
{
  std::set<std::string> seen;
  for (const Placed& layer : layersOf(state.root()))
    if (const std::string& name = textOf(layer, DCM_GraphicLayer); name.empty() || !isCode(name))
      state.find(layer, DCM_GraphicLayer, "'" + name + "' is no name of a layer");
    else if (!seen.insert(name).second)
      state.find(layer, DCM_GraphicLayer, "another layer has the name too");
}

void examineLayerOrders(Examination& state)
{
  NextOrder orders(state.root());
  for (const Placed& layer : layersOf(state.root()))
    if (const auto order = numberOf(layer, DCM_GraphicLayerOrder); !order || *order != std::floor(*order))
      state.find(layer, DCM_GraphicLayerOrder, "it is no whole number",
                 [layer, next = orders.next()] { putText(layer, DCM_GraphicLayerOrder, EVR_IS, next); });
}

void examineLayerColors(Examination& state)
{
  static const std::vector<Attribute> kColors{{DCM_GraphicLayerRecommendedDisplayGrayscaleValue, Form::whole, nullptr},
                                              {DCM_GraphicLayerRecommendedDisplayCIELabValue, Form::color, nullptr}};
  for (const Placed& layer : layersOf(state.root()))
    examineAttributes(state, layer, kColors);
}

} // namespace tarn::conformance
