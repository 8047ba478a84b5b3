// Elements of the legacy layout on their way into the canonic block.
#include "privateblock/relocation.h"

#include <algorithm>
#include <memory>

#include "dicom/contents.h"
#include "privateblock/PBItem.h"

namespace tarn::privateblock
{
namespace
{

/// Inserts without replacing; an element whose place is taken is deleted.
void insertOrDelete(DcmItem& item, std::unique_ptr<DcmElement> element)
{
  if (item.insert(element.get()).good())
    static_cast<void>(element.release());
}

} // namespace

Uint16 slotOf(const DcmTagKey& tag)
{
  return static_cast<Uint16>(tag.getElement() >> 8U);
}

void retag(DcmTag& tag, Uint16 elementNumber)
{
  tag.setElement(elementNumber);
  tag.setPrivateCreator(PBItem::kCreator);
}

/// The toolkit has no setter for an element's tag; changing it in place keeps VR and value.
void retag(DcmElement& element, Uint16 elementNumber)
{
  retag(const_cast<DcmTag&>(element.getTag()), elementNumber);
}

std::vector<DcmObject*> elementsIn(DcmItem& item, const std::vector<Uint16>& slots)
{
  const auto liesElsewhere = [&](const DcmObject* object)
  {
    const DcmTagKey& tag = object->getTag();
    return tag.getGroup() != PBItem::kGroup || std::count(slots.begin(), slots.end(), slotOf(tag)) == 0;
  };
  std::vector<DcmObject*> elements = dicom::contentsOf(item);
  elements.erase(std::remove_if(elements.begin(), elements.end(), liesElsewhere), elements.end());
  return elements;
}

void moveInto(Uint16 block, DcmItem& item, const std::vector<DcmObject*>& elements)
{
  DcmItem holding; // until all are taken out: the block may be one of those that are moved
  for (DcmObject* object : elements)
  {
    std::unique_ptr<DcmElement> element(item.remove(object));
    unsigned short key = 0;
    if (!PBItem::getCanonicKey(element->getTag(), key))
      continue;
    retag(*element, static_cast<Uint16>(block | key));
    insertOrDelete(holding, std::move(element));
  }
  while (holding.card() > 0)
    insertOrDelete(item, std::unique_ptr<DcmElement>(holding.remove(0UL)));
}

} // namespace tarn::privateblock
