#include "fuzz/Fuzzing.h"

#include "samples/dicomFile.h"
#include "dicom/values.h"
#include "dicom/loadFile.h"
#include "privateblock/PBItem.h"
#include "privateblock/privateTags.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>

namespace
{

using fuzzing::expect;

constexpr int kSteps = 8;
constexpr std::size_t kLastBytes = 2 + 3 * kSteps; // what is done: two options, then the steps
constexpr Uint16 kLegacySlots[] = {0xBA, 0xDA};

/// What an item holds: VR and bytes of each element, items of sequences in braces. White space and NULs are left out:
/// the toolkit drops some of them whenever it looks at a text, in UI line feeds too.
using Elements = std::map<DcmTagKey, std::string>;

/// Which elements are taken out of slot 10 and the legacy blocks; nothing is moved without it.
using MoveCanonic = std::optional<bool>;

Elements elementsOf(DcmItem& item, MoveCanonic move = std::nullopt);

std::string textOf(DcmElement& element, MoveCanonic move = std::nullopt)
{
  const std::string vr = DcmVR(element.ident()).getVRName();
  std::string value;
  if (auto* sequence = dynamic_cast<DcmSequenceOfItems*>(&element))
  {
    for (DcmObject* nested = nullptr; (nested = sequence->nextInContainer(nested)) != nullptr;)
      if (auto* item = dynamic_cast<DcmItem*>(nested))
      {
        value += '{';
        for (const auto& [tag, text] : elementsOf(*item, move))
          value.append(tag.toString()).append(text);
        value += '}';
      }
    return vr + value;
  }
  static_cast<void>(tarn::dicom::readBytes(element, value));
  const auto isDropped = [](unsigned char c) { return c == '\0' || std::isspace(c) != 0; };
  value.erase(std::remove_if(value.begin(), value.end(), isDropped), value.end());
  return vr + value;
}

/// The moves that PBItem promises, done on the plain values of `item`: of two elements for one place the first stays.
void relocate(DcmItem& item, bool moveCanonic, Elements& elements)
{
  DcmItem copy(item); // whose texts may be looked at
  const char* creator = nullptr;
  const auto look = [&](unsigned slot)
  { return copy.findAndGetString(DcmTagKey(PBItem::kGroup, static_cast<Uint16>(slot)), creator); };
  const auto is = [&](unsigned slot, const char* name)
  { return look(slot).good() && creator && std::strcmp(creator, name) == 0; };
  unsigned slot = 0x10;
  while (slot < 0x100 && look(slot) != EC_TagNotFound && !is(slot, PBItem::kCreator))
    ++slot;
  if (slot == 0x100)
    return;

  std::map<unsigned, bool> moves{{0x10, moveCanonic}};
  for (const Uint16 legacy : kLegacySlots)
  {
    moves[legacy] = look(legacy).bad() || is(legacy, "Quillbrookes");
    if (moves[legacy])
      elements.erase(DcmTagKey(PBItem::kGroup, legacy));
  }
  Elements held;
  for (auto element = elements.begin(); element != elements.end();)
  {
    const DcmTagKey tag = element->first;
    unsigned short key = 0;
    const bool moved = tag.getGroup() == PBItem::kGroup && moves[tag.getElement() >> 8U];
    if (moved && PBItem::getCanonicKey(tag, key))
      held.emplace(DcmTagKey(PBItem::kGroup, static_cast<Uint16>(slot << 8U | key)), element->second);
    element = moved ? elements.erase(element) : std::next(element);
  }
  if (!held.empty())
    elements.emplace(DcmTagKey(PBItem::kGroup, static_cast<Uint16>(slot)), "LOPBgroupA");
  elements.merge(held);
}

Elements elementsOf(DcmItem& item, MoveCanonic move)
{
  Elements elements;
  for (DcmObject* object = nullptr; (object = item.nextInContainer(object)) != nullptr;)
    if (auto* element = dynamic_cast<DcmElement*>(object))
      elements[element->getTag()] = textOf(*element, move);
  if (move)
    relocate(item, *move, elements);
  return elements;
}

std::set<DcmTagKey> foreignTags(DcmItem& item)
{
  std::set<DcmTagKey> tags;
  for (DcmObject* object = nullptr; (object = item.nextInContainer(object)) != nullptr;)
    if (object->getGTag() != PBItem::kGroup)
      tags.insert(object->getTag());
  return tags;
}

/// The element of a short key as elementsOf tells it; nothing where there is none.
std::optional<std::string> found(PBItem& block, unsigned short key)
{
  DcmElement* element = nullptr;
  const OFCondition status = block.findAndGetPBElement(key, element, false);
  expect(status.good() == (element != nullptr), "what is found is there, and nothing else");
  return element ? std::optional(textOf(*element)) : std::nullopt;
}

void lookAt(PBItem& block, DcmItem& item, unsigned short key, signed long number)
{
  const char* text = nullptr;
  DcmSequenceOfItems* sequence = nullptr;
  DcmItem* nested = nullptr;
  DcmElement* element = nullptr;
  if (block.findAndGetPBString(key, text).good() && text)
    expect(std::strlen(text) < 1U << 20U, "a text ends");
  if (block.findAndGetPBSequence(key, sequence).good())
    expect(sequence && sequence->card() < 1U << 20U, "a sequence that is found is there");
  if (block.findAndGetPBSequenceItem(key, nested, number).good())
    expect(nested && nested->card() < 1U << 20U, "an item that is found is there");
  if (block.findAndGetPBElement(key, element, true).good())
    expect(element && element->getGTag() == PBItem::kGroup, "what is found in sequences is private");
  for (DcmObject* object = nullptr; (object = item.nextInContainer(object)) != nullptr;)
  {
    DcmTag tag = object->getTag();
    expect(!block.isObjectOurPrivateElement(*object) || PBItem::isOurPrivateTagKey(tag), "our elements lie in blocks");
    static_cast<void>(checkAndUpdateCanonicPrivateTag(item, tag));
  }
}

void remove(PBItem& block, DcmItem& item, unsigned short key)
{
  const bool isThere = found(block, key).has_value();
  const std::size_t count = item.card();
  const std::unique_ptr<DcmElement> removed(block.removePB(key));
  expect(isThere == (removed != nullptr), "what is there is taken out");
  expect(item.card() + (removed ? 1 : 0) == count && !found(block, key), "one element is taken out");
}

/// Also where no block has been calculated. The legacy creators may go.
void relocateAgain(PBItem& block, DcmItem& item, bool moveCanonic)
{
  const Elements before = elementsOf(item);
  if (block.relocateLegacyPrivateTags(moveCanonic))
    return;
  Elements after = elementsOf(item);
  for (const Uint16 legacy : kLegacySlots)
    if (const auto creator = before.find(DcmTagKey(PBItem::kGroup, legacy)); creator != before.end())
      after.insert(*creator);
  expect(after == before, "moves that cannot be made lose nothing");
}

/// Does in the block what the next three bytes say.
void change(FuzzedDataProvider& input, PBItem& block, DcmItem& item, PBItem& other)
{
  constexpr std::size_t kOperations = 13;
  const auto operation = input.ConsumeIntegralInRange<std::size_t>(0, kOperations - 1);
  const unsigned short key = input.ConsumeIntegral<std::uint8_t>();
  const auto number = input.ConsumeIntegralInRange<signed long>(-2, 3);
  const Uint8 bytes[] = {'b', 'y', 't', 'e'};
  const Uint16 words[] = {'w', 'o'};
  const auto expectValue = [&](const OFCondition& status, const char* value)
  {
    const auto now = found(block, key);
    expect(status.bad() || now == value, "a value that is put is there");
  };
  const auto insert = [&]
  {
    auto element = std::make_unique<DcmLongText>(PBItem::canonicTag(1));
    const OFCondition status = block.insertPB(key, element.get(), number > 0);
    if (status.good())
      static_cast<void>(element.release());
    expectValue(status, "LT");
  };
  const auto makeItem = [&]
  {
    DcmItem* made = nullptr;
    const OFCondition status = block.findOrCreatePBSequenceItem(key, made, number);
    expect(status.bad() || (made && found(block, key)), "an item that is made is there");
  };
  const auto copy = [&]
  {
    const OFCondition status = block.copyPrivateElement(key, other);
    expect(status.bad() || found(block, key) == found(other, key), "a copy is the same");
  };
  const auto nuke = [&]
  {
    block.nukePrivateTags();
    expect(foreignTags(item).size() == item.card(), "nothing private is left");
  };
  const std::function<void()> operations[kOperations] = {
      [&] { expectValue(block.putAndInsertPBString(key, "text"), "LOtext"); },
      [&] { expectValue(block.putAndInsertPBUint8Array(key, bytes, 4), "OBbyte"); },
      [&] { expectValue(block.putAndInsertPBUint16Array(key, words, 2), "OWwo"); },
      [&] { expectValue(block.insertPBEmptyElement(key, EVR_ST), "ST"); },
      insert,
      makeItem,
      copy,
      nuke,
      [&] { remove(block, item, key); },
      [&] { static_cast<void>(block.getTag(key)); },
      [&] { static_cast<void>(block.checkAndReservePrivateBlock()); },
      [&] { relocateAgain(block, item, number > 0); },
      [&] { lookAt(block, item, key, number); }};
  operations[operation]();
}

} // namespace

/// A data set of any bytes: its moves lose nothing that has a place, and every operation keeps to its item's block.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t length)
{
  FuzzedDataProvider input(bytes, length);
  const auto given = input.ConsumeBytes<char>(length - std::min(length, kLastBytes));
  const bool everywhere = input.ConsumeBool();
  const bool moveCanonic = input.ConsumeBool();
  const fuzzing::MemoryFile memory(given.data(), given.size());
  DcmFileFormat file;
  if (tarn::dicom::loadFile(file, memory.path()).bad()) // lengths of elements are not what is there
    return 0;
  DcmDataset& dataset = *file.getDataset();
  if (everywhere)
  {
    const Elements expected = elementsOf(dataset, moveCanonic);
    static_cast<void>(moveCanonic ? handleCanonicAndOldPrivateTags(dataset) : handlePrivateTags(dataset));
    expect(elementsOf(dataset) == expected, "legacy elements are moved, and all others stay");
  }
  DcmDataset destination;
  PBItem block(dataset), other(destination);
  const std::set<DcmTagKey> foreign = foreignTags(dataset);
  for (int step = 0; step < kSteps; ++step)
    change(input, block, dataset, other);
  expect(foreignTags(dataset) == foreign, "elements of other groups stay");
  fuzzing::expectRoundTrip(destination);
  return 0;
}
