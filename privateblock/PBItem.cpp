// The archive's private block of one item: found or reserved, read and written.
#include "privateblock/PBItem.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include <syslog.h>

#include "dicom/contents.h"
#include "privateblock/legacyKeys.h"

using tarn::dicom::insertOwned;

makeOFConditionConst(EC_PBPrivateTagProblem, OFM_dcmdata, 0x7010, OF_error,
                     "No private block and no free slot for one");

std::map<DcmTagKey, unsigned short> PBItem::m_privateKeyMap;
std::once_flag PBItem::m_isMapCreated;

namespace
{

constexpr Uint16 kGroup = PBItem::kGroup;
constexpr Uint16 kFirstSlot = 0x10;
constexpr Uint16 kLastSlot = 0xFF;
constexpr Uint16 kLegacyBA = 0xBA;
constexpr Uint16 kLegacyDA = 0xDA;
constexpr Uint16 kCanonicSlot = 0x10;
constexpr char kLegacyCreator[] = "Quillbrookes";

bool equals(const char* value, const char* expected)
{
  return value && std::strcmp(value, expected) == 0;
}

/// The slot of a private element's block: the high byte of the element number (PS3.5 7.8.1).
Uint16 slotOf(const DcmTagKey& tag)
{
  return static_cast<Uint16>(tag.getElement() >> 8U);
}

/// Gives `tag` an element number of our block, and our creator; its VR stays.
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

DcmTagKey creatorKey(Uint16 slot)
{
  return {kGroup, slot};
}

/// Elements of our group, by their number.
using Group = std::map<Uint16, DcmElement*>;

Group groupOf(DcmItem& item)
{
  Group group;
  for (DcmObject* object : tarn::dicom::contentsOf(item))
    if (auto* element = object->getGTag() == kGroup ? dynamic_cast<DcmElement*>(object) : nullptr)
      group.emplace(element->getETag(), element);
  return group;
}

/// Reads the creator of a slot; EC_TagNotFound says that the slot is free.
OFCondition readCreator(const Group& group, Uint16 slot, char*& creator)
{
  const auto found = group.find(slot);
  return found == group.end() ? OFCondition(EC_TagNotFound) : found->second->getString(creator);
}

bool isLegacyOfOurs(const Group& group, Uint16 slot)
{
  char* creator = nullptr;
  return readCreator(group, slot, creator).bad() || equals(creator, kLegacyCreator);
}

/// Moves `elements` of `item` into its block. Deletes those that have no short key and those whose place is taken.
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
    insertOwned(holding, std::move(element));
  }
  while (holding.card() > 0)
    insertOwned(item, std::unique_ptr<DcmElement>(holding.remove(0UL)));
}

/// Writes a line that operators know, under an identity and a facility of its own. Both calls change the log of the
/// whole process: later messages of a host program have no longer the identity and the facility that it chose.
void logDebug(const char* text)
{
  openlog("PBItem", LOG_PID, LOG_LOCAL3);
  syslog(LOG_DEBUG, "%s", text);
  closelog();
}

} // namespace

PBItem::PBItem(DcmItem& item) : item(&item)
{
  std::call_once(m_isMapCreated, createMap);
}

void PBItem::createMap()
{
  for (const LegacyKey& row : kLegacyKeys)
    m_privateKeyMap[DcmTagKey(kGroup, row.element)] = row.key;
}

bool PBItem::calcPrivateBlock(bool moveCanonic)
{
  if (calculated)
    return true;
  const Group group = groupOf(*item);
  for (Uint16 slot = kFirstSlot; slot <= kLastSlot; ++slot)
  {
    char* creator = nullptr;
    const OFCondition status = readCreator(group, slot, creator);
    const bool free = status == EC_TagNotFound;
    if (!free && (status.bad() || !equals(creator, kCreator)))
      continue;
    block = static_cast<Uint16>(slot << 8U);
    reserved = !free;
    calculated = relocateLegacyPrivateTags(moveCanonic);
    return calculated;
  }
  return false;
}

bool PBItem::checkAndReservePrivateBlock()
{
  if (reserved)
    return true;
  if (block == 0)
    return false;
  const DcmTag creator(creatorKey(static_cast<Uint16>(block >> 8U)), EVR_LO);
  reserved = item->putAndInsertString(creator, kCreator).good();
  return reserved;
}

bool PBItem::isOldBlockOurs(int blockByte)
{
  return isLegacyOfOurs(groupOf(*item), static_cast<Uint16>(blockByte));
}

bool PBItem::relocateLegacyPrivateTags(bool moveCanonic)
{
  const Group group = groupOf(*item);
  std::vector<Uint16> slots;
  for (const Uint16 legacy : {kLegacyBA, kLegacyDA})
    if (isLegacyOfOurs(group, legacy))
      slots.push_back(legacy);
  const std::vector<Uint16> legacySlots = slots;
  if (moveCanonic)
    slots.push_back(kCanonicSlot);
  std::vector<DcmObject*> moved;
  for (const auto& [number, element] : group)
    if (std::count(slots.begin(), slots.end(), slotOf(element->getTag())) > 0)
      moved.push_back(element);
  for (const Uint16 legacy : legacySlots)
    if (group.count(legacy) > 0)
      item->findAndDeleteElement(creatorKey(legacy));
  unsigned short key = 0;
  const auto hasKey = [&key](const DcmObject* object) { return getCanonicKey(object->getTag(), key); };
  if (std::any_of(moved.begin(), moved.end(), hasKey) && !checkAndReservePrivateBlock())
    return false; // before anything is taken out
  moveInto(block, *item, moved);
  return true;
}

OFCondition PBItem::findAndGetPBElement(unsigned short key, DcmElement*& element, bool searchIntoSub)
{
  element = nullptr;
  if (!calcPrivateBlock(false))
  {
    logDebug("couldn't calc");
    return EC_PBPrivateTagProblem;
  }
  const OFCondition status = item->findAndGetElement(blockTag(key, EVR_UN), element);
  if (!searchIntoSub || status != EC_TagNotFound)
    return status;
  for (DcmItem* nested : tarn::dicom::nestedItems(*item))
    if (PBItem(*nested).findAndGetPBElement(key, element, true).good())
      return EC_Normal;
  return EC_TagNotFound;
}

OFCondition PBItem::findAndGetPBString(unsigned short key, const char*& value)
{
  return calcPrivateBlock(false) ? item->findAndGetString(blockTag(key, EVR_LO), value) : EC_PBPrivateTagProblem;
}

OFCondition PBItem::findAndGetPBSequence(unsigned short key, DcmSequenceOfItems*& sequence)
{
  return calcPrivateBlock(false) ? item->findAndGetSequence(blockTag(key, EVR_SQ), sequence) : EC_PBPrivateTagProblem;
}

OFCondition PBItem::findAndGetPBSequenceItem(unsigned short key, DcmItem*& found, signed long number)
{
  return calcPrivateBlock(false) ? item->findAndGetSequenceItem(blockTag(key, EVR_SQ), found, number)
                                 : EC_PBPrivateTagProblem;
}

template <class Put>
OFCondition PBItem::put(unsigned short key, DcmEVR vr, Put operation)
{
  if (!calcPrivateBlock(false) || !checkAndReservePrivateBlock())
    return EC_PBPrivateTagProblem;
  return operation(blockTag(key, vr));
}

OFCondition PBItem::findOrCreatePBSequenceItem(unsigned short key, DcmItem*& created, signed long number)
{
  return put(key, EVR_SQ, [&](const DcmTag& tag) { return item->findOrCreateSequenceItem(tag, created, number); });
}

OFCondition PBItem::putAndInsertPBString(unsigned short key, const char* value, DcmEVR vr)
{
  return put(key, vr, [&](const DcmTag& tag) { return item->putAndInsertString(tag, value); });
}

OFCondition PBItem::putAndInsertPBUint8Array(unsigned short key, const Uint8* values, unsigned long count)
{
  return put(key, EVR_OB, [&](const DcmTag& tag) { return item->putAndInsertUint8Array(tag, values, count); });
}

OFCondition PBItem::putAndInsertPBUint16Array(unsigned short key, const Uint16* values, unsigned long count)
{
  return put(key, EVR_OW, [&](const DcmTag& tag) { return item->putAndInsertUint16Array(tag, values, count); });
}

OFCondition PBItem::insertPBEmptyElement(unsigned short key, DcmEVR vr)
{
  return put(key, vr, [&](const DcmTag& tag) { return item->insertEmptyElement(tag); });
}

OFCondition PBItem::insertPB(unsigned short key, DcmElement* element, bool replaceOld)
{
  if (!element)
    return EC_IllegalParameter;
  const auto insert = [&](const DcmTag& tag)
  {
    retag(*element, tag.getElement());
    return item->insert(element, replaceOld);
  };
  return put(key, EVR_UN, insert);
}

DcmElement* PBItem::removePB(unsigned short key)
{
  return calcPrivateBlock(false) ? item->remove(blockTag(key, EVR_UN)) : nullptr;
}

OFCondition PBItem::copyPrivateElement(unsigned short key, PBItem& destination)
{
  DcmElement* source = nullptr;
  OFCondition status = findAndGetPBElement(key, source, false);
  if (status.bad())
    return status;
  std::unique_ptr<DcmElement> copy(dynamic_cast<DcmElement*>(source->clone()));
  status = destination.insertPB(key, copy.get());
  if (status.good())
    static_cast<void>(copy.release());
  return status;
}

void PBItem::nukePrivateTags()
{
  for (const auto& [number, element] : groupOf(*item))
    delete item->remove(element);
  block = 0;
  reserved = false;
  calculated = false;
}

DcmTag PBItem::getTag(unsigned short key)
{
  if (calcPrivateBlock(false))
    checkAndReservePrivateBlock();
  return blockTag(key, EVR_UN);
}

bool PBItem::convertTag(DcmTag& tag)
{
  unsigned short key = 0;
  if (!getCanonicKey(tag, key) || !calcPrivateBlock(false))
    return false;
  retag(tag, static_cast<Uint16>(block | key));
  return true;
}

bool PBItem::isObjectOurPrivateElement(const DcmObject& object)
{
  return isOurPrivateTagKey(object.getTag()) && calcPrivateBlock(false) &&
         slotOf(object.getTag()) == static_cast<Uint16>(block >> 8U);
}

DcmTag PBItem::canonicTag(unsigned short key)
{
  return DcmTag(kGroup, static_cast<Uint16>(kCanonicSlot << 8U | key), kCreator);
}

bool PBItem::getCanonicKey(const DcmTagKey& tag, unsigned short& key)
{
  std::call_once(m_isMapCreated, createMap);
  if (tag.getGroup() == kGroup && slotOf(tag) == kCanonicSlot)
  {
    key = tag.getElement() & 0xFFU;
    return true;
  }
  const auto row = m_privateKeyMap.find(tag);
  if (row == m_privateKeyMap.end())
    return false;
  key = row->second;
  return true;
}

bool PBItem::isOurPrivateCreator(const DcmTag& tag)
{
  return tag.getGroup() == kGroup && tag.getElement() >= kFirstSlot && tag.getElement() <= kLastSlot;
}

bool PBItem::isOurPrivateTagKey(const DcmTagKey& tag)
{
  return tag.getGroup() == kGroup && tag.getElement() > 0x0FFF;
}

DcmTag PBItem::blockTag(unsigned short key, DcmEVR vr) const
{
  DcmTag tag(kGroup, static_cast<Uint16>(block | key), kCreator);
  tag.setVR(DcmVR(vr));
  return tag;
}
