#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <memory>
#include <vector>

namespace tarn::dicom
{

/// Returns what `container`, an item or a sequence, holds, in its order. The container keeps owning it.
inline std::vector<DcmObject*> contentsOf(DcmObject& container)
{
  std::vector<DcmObject*> contents;
  for (DcmObject* object = container.nextInContainer(nullptr); object; object = container.nextInContainer(object))
    contents.push_back(object);
  return contents;
}

/// Returns the items of `sequence`; none where it holds the fragments of compressed pixels (PS3.5 A.4).
inline std::vector<DcmItem*> itemsOf(DcmSequenceOfItems& sequence)
{
  std::vector<DcmItem*> items;
  for (DcmObject* object : contentsOf(sequence))
    if (auto* item = dynamic_cast<DcmItem*>(object))
      items.push_back(item);
  return items;
}

/// Returns the items of all sequences of `item`, but not those that they hold in their turn.
inline std::vector<DcmItem*> nestedItems(DcmItem& item)
{
  std::vector<DcmItem*> nested;
  for (DcmObject* object : contentsOf(item))
    if (auto* sequence = dynamic_cast<DcmSequenceOfItems*>(object))
      for (DcmItem* inner : itemsOf(*sequence))
        nested.push_back(inner);
  return nested;
}

/// Inserts `object` into an item or a sequence, which owns it afterwards; on failure it is discarded. `options` are
/// those of the container's `insert`.
template <class Container, class Object, class... Options>
OFCondition insertOwned(Container& container, std::unique_ptr<Object> object, Options... options)
{
  const OFCondition status = container.insert(object.get(), options...);
  if (status.good())
    static_cast<void>(object.release());
  return status;
}

} // namespace tarn::dicom
