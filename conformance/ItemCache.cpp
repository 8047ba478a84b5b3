// The elements of items, found faster than the toolkit finds them.
#include "conformance/ItemCache.h"

#include <algorithm>

namespace tarn::conformance
{
namespace
{

Uint32 numberOf(const DcmTagKey& tag)
{
  return static_cast<Uint32>(tag.getGroup()) << 16U | tag.getElement();
}

template <class Visit>
void forEachElement(DcmItem& item, Visit visit)
{
  for (DcmObject* object = item.nextInContainer(nullptr); object; object = item.nextInContainer(object))
    visit(static_cast<DcmElement*>(object)); // NOLINT(*-static-cast-downcast): an item takes nothing else
}

} // namespace

const ItemCache::Contents& ItemCache::of(DcmItem& item)
{
  const auto [place, isNew] = items.try_emplace(&item);
  Contents& contents = place->second;
  if (isNew)
    forEachElement(item,
                   [&contents](DcmElement* element)
                   {
                     contents.tags.push_back(numberOf(element->getTag()));
                     contents.elements.push_back(element);
                   });
  return contents;
}

DcmElement* ItemCache::find(DcmItem& item, const DcmTagKey& tag)
{
  if (suspended)
  {
    DcmElement* found = nullptr;
    forEachElement(item,
                   [&](DcmElement* element)
                   {
                     if (!found && element->getTag() == tag)
                       found = element;
                   });
    return found;
  }
  const Contents& contents = of(item);
  const auto place = std::find(contents.tags.begin(), contents.tags.end(), numberOf(tag));
  return place == contents.tags.end() ? nullptr
                                      : contents.elements[static_cast<std::size_t>(place - contents.tags.begin())];
}

std::vector<DcmElement*> ItemCache::elementsOf(DcmItem& item)
{
  if (!suspended)
    return of(item).elements;
  std::vector<DcmElement*> elements;
  forEachElement(item, [&elements](DcmElement* element) { elements.push_back(element); });
  return elements;
}

void ItemCache::resume(bool changed)
{
  suspended = false;
  if (changed)
    items.clear();
}

} // namespace tarn::conformance
