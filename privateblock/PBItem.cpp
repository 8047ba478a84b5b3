#include "privateblock/PBItem.h"

#include <syslog.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

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

struct LegacyKey
{
  Uint16 element;
  unsigned short key;
};

constexpr LegacyKey kLegacyKeys[] = {
    {0xBA01, 0x01}, {0xBA02, 0x02}, {0xBA03, 0x03}, {0xBA04, 0x04}, {0xBA05, 0x05}, {0xBA06, 0x06}, {0xBA07, 0x07},
    {0xDA71, 0x0A}, {0xDA72, 0x0B}, {0xDA73, 0x0C}, {0xDA74, 0x0D}, {0xBA31, 0x0E}, {0xBA00, 0x10}, {0xBA11, 0x11},
    {0xBA12, 0x12}, {0xBA21, 0x13}, {0xBA22, 0x14}, {0xBA51, 0x15}, {0xBA52, 0x16}, {0xBA53, 0x17}, {0xBA54, 0x18},
    {0xBA41, 0x1A}, {0xBA42, 0x1B}, {0xBABA, 0x1D}, {0xDADA, 0x1E}, {0xBA71, 0x21}, {0xBA72, 0x22}, {0xBA73, 0x23},
    {0xBA74, 0x24}, {0xBA75, 0x25}, {0xBA61, 0x2A}, {0xBA62, 0x2B}, {0xBA81, 0x31}, {0xBA82, 0x32}, {0xBA83, 0x33},
    {0xBA91, 0x34}, {0xBA92, 0x35}, {0xBA93, 0x36}, {0xBA94, 0x94}, {0xBAA0, 0x37}, {0xBAA1, 0x38}, {0xDA80, 0x3A},
    {0xDA01, 0x41}, {0xDA02, 0x42}, {0xDA03, 0x43}, {0xDA04, 0x44}, {0xDA11, 0x51}, {0xDA12, 0x52}, {0xDA13, 0x53},
    {0xDA14, 0x54}, {0xDA15, 0x55}, {0xDA21, 0x61}, {0xDA31, 0x62}, {0xDA32, 0x63}, {0xDA33, 0x64}, {0xDA38, 0x65},
    {0xDA41, 0x6A}, {0xDA42, 0x6B}, {0xDA43, 0x6C}, {0xDA51, 0x71}, {0xDA52, 0x72}, {0xDA53, 0x73}, {0xDA61, 0x76},
    {0xDA62, 0x7A}, {0xDA63, 0x7B},
};

bool equals(const char* value, const char* expected)
{
  return value && std::strcmp(value, expected) == 0;
}

Uint16 slotOf(const DcmTagKey& tag)
{
  return static_cast<Uint16>(tag.getElement() >> 8U);
}

DcmTagKey creatorKey(Uint16 slot)
{
  return {kGroup, slot};
}

void logDebug(const char* text)
{
  openlog("PBItem", LOG_PID, LOG_LOCAL3);
  syslog(LOG_DEBUG, "%s", text);
  closelog();
}

/// Makes `tag` one of our block; its VR stays.
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

/// Inserts without replacing; an element whose place is taken is deleted.
void insertOrDelete(DcmItem& item, std::unique_ptr<DcmElement> element)
{
  if (item.insert(element.get()).good())
    static_cast<void>(element.release());
}

} // namespace

PBItem::PBItem(DcmItem& wrapped) : item(&wrapped)
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
  for (Uint16 slot = kFirstSlot; slot <= kLastSlot; ++slot)
  {
    const char* creator = nullptr;
    const OFCondition status = item->findAndGetString(creatorKey(slot), creator);
    const bool free = status == EC_TagNotFound;
    if (!free && (status.bad() || !equals(creator, kCreator)))
      continue;
    block = static_cast<Uint16>(slot << 8U);
    reserved = !free;
    calculated = true; // relocation reserves the block
    calculated = relocateLegacyPrivateTags(moveCanonic);
    return calculated;
  }
  return false;
}

bool PBItem::checkAndReservePrivateBlock()
{
  if (reserved)
    return true;
  if (!calculated)
    return false;
  const DcmTag creator(creatorKey(static_cast<Uint16>(block >> 8U)), EVR_LO);
  reserved = item->putAndInsertString(creator, kCreator).good();
  return reserved;
}

bool PBItem::isOldBlockOurs(int blockByte)
{
  const char* creator = nullptr;
  const OFCondition status = item->findAndGetString(creatorKey(static_cast<Uint16>(blockByte)), creator);
  return status.bad() || equals(creator, kLegacyCreator);
}

bool PBItem::isMoved(const DcmTagKey& tag, bool moveBA, bool moveDA, bool moveCanonic) const
{
  if (tag.getGroup() != kGroup)
    return false;
  const Uint16 slot = slotOf(tag);
  return (slot == kLegacyBA && moveBA) || (slot == kLegacyDA && moveDA) || (slot == kCanonicSlot && moveCanonic);
}

bool PBItem::relocateLegacyPrivateTags(bool moveCanonic)
{
  const bool moveBA = isOldBlockOurs(kLegacyBA);
  const bool moveDA = isOldBlockOurs(kLegacyDA);

  std::vector<DcmObject*> moved;
  for (DcmObject* object = nullptr; (object = item->nextInContainer(object)) != nullptr;)
    if (isMoved(object->getTag(), moveBA, moveDA, moveCanonic))
      moved.push_back(object);
  const auto hasPlace = [](const DcmObject* object)
  {
    unsigned short key = 0;
    return getCanonicKey(object->getTag(), key);
  };

  if (moveBA)
    item->findAndDeleteElement(creatorKey(kLegacyBA));
  if (moveDA)
    item->findAndDeleteElement(creatorKey(kLegacyDA));
  if (std::any_of(moved.begin(), moved.end(), hasPlace) && !checkAndReservePrivateBlock())
    return false; // before anything is taken out

  DcmItem holding;
  for (DcmObject* object : moved)
  {
    std::unique_ptr<DcmElement> element(item->remove(object));
    unsigned short key = 0;
    if (!getCanonicKey(element->getTag(), key))
      continue;
    retag(*element, static_cast<Uint16>(block | key));
    insertOrDelete(holding, std::move(element));
  }
  while (holding.card() > 0)
    insertOrDelete(*item, std::unique_ptr<DcmElement>(holding.remove(0UL)));
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
  return searchSequences(key, element);
}

OFCondition PBItem::searchSequences(unsigned short key, DcmElement*& element)
{
  for (DcmObject* object = nullptr; (object = item->nextInContainer(object)) != nullptr;)
  {
    auto* sequence = dynamic_cast<DcmSequenceOfItems*>(object);
    for (DcmObject* nested = nullptr; sequence && (nested = sequence->nextInContainer(nested)) != nullptr;)
    {
      auto* nestedItem = dynamic_cast<DcmItem*>(nested);
      if (nestedItem && PBItem(*nestedItem).findAndGetPBElement(key, element, true).good())
        return EC_Normal;
    }
  }
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
  DcmTag tag;
  const OFCondition status = writableTag(key, vr, tag);
  return status.good() ? operation(tag) : status;
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
  return put(key, EVR_UN,
             [&](const DcmTag& tag)
             {
               retag(*element, tag.getElement());
               return item->insert(element, replaceOld);
             });
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
  std::vector<DcmObject*> ours;
  for (DcmObject* object = nullptr; (object = item->nextInContainer(object)) != nullptr;)
    if (object->getGTag() == kGroup)
      ours.push_back(object);
  for (DcmObject* object : ours)
    delete item->remove(object);
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

OFCondition PBItem::writableTag(unsigned short key, DcmEVR vr, DcmTag& tag)
{
  if (!calcPrivateBlock(false) || !checkAndReservePrivateBlock())
    return EC_PBPrivateTagProblem;
  tag = blockTag(key, vr);
  return EC_Normal;
}
