// Graphics and texts, as the rules about them look at them.
#include "conformance/annotations.h"

#include "dicom/contents.h"
#include "dicom/values.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <unordered_set>

namespace tarn::conformance
{

const std::vector<Placed>& annotationsOf(Examination& state)
{
  return itemsOf(state.root(), DCM_GraphicAnnotationSequence);
}

bool areFinite(const std::vector<Float32>& values)
{
  return std::all_of(values.begin(), values.end(), [](Float32 value) { return std::isfinite(value); });
}

bool isClosed(const Placed& graphic)
{
  const std::string& type = textOf(graphic, DCM_GraphicType);
  if (type == "CIRCLE" || type == "ELLIPSE")
    return true;
  if (type != "POLYLINE" && type != "INTERPOLATED")
    return false;
  const std::vector<Float32>& data = coordinatesOf(graphic, DCM_GraphicData);
  const std::size_t count = data.size();
  return count >= 4 && data[0] == data[count - 2] && data[1] == data[count - 1];
}

Examination::Remedy Replacements::remedy(const Placed& object, std::function<Items()> become)
{
  ++promised;
  return [self = shared_from_this(), object, become = std::move(become)]
  {
    self->replacements[&object.item] = {&object.contents, become()};
    if (--self->promised == 0)
      self->apply();
  };
}

Examination::Remedy Replacements::drop(const Placed& object)
{
  return remedy(object, [] { return Items(); });
}

void Replacements::apply()
{
  std::unordered_set<DcmSequenceOfItems*> sequences;
  for (const auto& [item, replacement] : replacements)
    if (auto* const sequence = dynamic_cast<DcmSequenceOfItems*>(const_cast<DcmItem*>(item)->getParent()))
      sequences.insert(sequence);
  for (DcmSequenceOfItems* sequence : sequences)
    for (unsigned long left = sequence->card(); left > 0; --left)
    {
      std::unique_ptr<DcmItem> item(sequence->remove(0UL));
      const auto replaced = replacements.find(item.get());
      if (replaced == replacements.end())
        static_cast<void>(dicom::insertOwned(*sequence, std::move(item)));
      else
        for (std::unique_ptr<DcmItem>& piece : replaced->second.items)
          static_cast<void>(dicom::insertOwned(*sequence, std::move(piece)));
    }
  for (const auto& [item, replacement] : replacements)
    replacement.contents->changePlace();
}

} // namespace tarn::conformance
