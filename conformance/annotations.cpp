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

std::vector<Placed> annotationsOf(Examination& state)
{
  return itemsOf(state.root(), DCM_GraphicAnnotationSequence);
}

std::vector<Placed> objectsOf(Examination& state, const DcmTagKey& sequence)
{
  std::vector<Placed> objects;
  for (const Placed& annotation : annotationsOf(state))
    for (const Placed& object : itemsOf(annotation, sequence))
      objects.push_back(object);
  return objects;
}

std::vector<Float32> coordinatesOf(const Placed& where, const DcmTagKey& tag)
{
  DcmElement* element = nullptr;
  std::vector<Float32> values;
  if (where.item.findAndGetElement(tag, element).bad())
    return values;
  const DcmEVR vr = element->ident();
  std::string bytes;
  if ((vr != EVR_FL && vr != EVR_UN && vr != EVR_OF) || dicom::readBytes(*element, bytes).bad() ||
      bytes.size() % sizeof(Float32) != 0)
    return values;
  swapIfNecessary(gLocalByteOrder, EBO_LittleEndian, bytes.data(), static_cast<Uint32>(bytes.size()), sizeof(Float32));
  values.resize(bytes.size() / sizeof(Float32));
  std::memcpy(values.data(), bytes.data(), bytes.size());
  return values;
}

bool areFinite(const std::vector<Float32>& values)
{
  return std::all_of(values.begin(), values.end(), [](Float32 value) { return std::isfinite(value); });
}

bool isClosed(const Placed& graphic)
{
  const std::string type = textOf(graphic, DCM_GraphicType);
  if (type == "CIRCLE" || type == "ELLIPSE")
    return true;
  if (type != "POLYLINE" && type != "INTERPOLATED")
    return false;
  const std::vector<Float32> data = coordinatesOf(graphic, DCM_GraphicData);
  const std::size_t count = data.size();
  return count >= 4 && data[0] == data[count - 2] && data[1] == data[count - 1];
}

Examination::Remedy Replacements::remedy(const Placed& object, std::function<Items()> become)
{
  ++promised;
  return [self = shared_from_this(), item = &object.item, become = std::move(become)]
  {
    self->replacements[item] = become();
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
  for (const auto& [item, items] : replacements)
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
        for (std::unique_ptr<DcmItem>& piece : replaced->second)
          static_cast<void>(dicom::insertOwned(*sequence, std::move(piece)));
    }
}

} // namespace tarn::conformance
