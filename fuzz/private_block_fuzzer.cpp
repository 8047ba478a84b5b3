#include "Fuzzing.h"

#include "DicomFile.h"
#include "ElementText.h"
#include "FileReader.h"
#include "PBItem.h"
#include "privateTags.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <optional>

namespace
{

using fuzzing::expect;

/// What an item holds: VR and bytes of each element, items of sequences in braces. Blanks and NULs are left out: the
/// toolkit drops some of them whenever it looks at a text.
using Elements = std::map<DcmTagKey, std::string>;

/// Which elements are taken out of slot 10 and the legacy blocks; nothing is moved without it.
using MoveCanonic = std::optional<bool>;

Elements elementsOf(DcmItem& item, MoveCanonic move = std::nullopt);

std::string valueOf(DcmElement& element, MoveCanonic move)
{
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
    return value;
  }
  static_cast<void>(tarn::dicom::readBytes(element, value));
  value.erase(std::remove_if(value.begin(), value.end(), [](char c) { return c == ' ' || c == '\0'; }), value.end());
  return value;
}

/// Nothing where there is no such creator, a null text where it cannot be read.
std::optional<const char*> creatorOf(DcmItem& item, Uint16 slot)
{
  const char* creator = nullptr;
  const OFCondition status = item.findAndGetString(DcmTagKey(PBItem::kGroup, slot), creator);
  return status == EC_TagNotFound ? std::nullopt : std::optional(status.good() && creator ? creator : nullptr);
}

/// The moves that PBItem promises, done on the plain values of `item`: of two elements for one place the first stays.
void relocate(DcmItem& item, bool moveCanonic, Elements& elements)
{
  DcmItem copy(item); // whose texts may be looked at
  const auto is = [&](Uint16 slot, const char* name)
  {
    const auto creator = creatorOf(copy, slot);
    return creator && *creator && std::string(*creator) == name;
  };
  unsigned slot = 0x10;
  while (slot < 0x100 && creatorOf(copy, static_cast<Uint16>(slot)) && !is(static_cast<Uint16>(slot), PBItem::kCreator))
    ++slot;
  if (slot == 0x100)
    return;

  std::map<unsigned, bool> moves{{0x10, moveCanonic}};
  for (const Uint16 legacy : {Uint16{0xBA}, Uint16{0xDA}})
  {
    const char* ignored = nullptr;
    moves[legacy] =
        copy.findAndGetString(DcmTagKey(PBItem::kGroup, legacy), ignored).bad() || is(legacy, "Quillbrookes");
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
      elements[element->getTag()] = DcmVR(element->ident()).getVRName() + valueOf(*element, move);
  if (move)
    relocate(item, *move, elements);
  return elements;
}

std::size_t foreignElements(const Elements& elements)
{
  return static_cast<std::size_t>(std::count_if(elements.begin(), elements.end(),
                                                [](const auto& element)
                                                { return element.first.getGroup() != PBItem::kGroup; }));
}

/// A place in a block and what is done there.
struct Step
{
  int operation;
  unsigned short key;
  signed long number;
};
constexpr int kLastOperation = 12;
constexpr std::size_t kSteps = 8;

/// The element of a short key as elementsOf tells it; nothing where there is none.
std::optional<std::string> found(PBItem& block, unsigned short key)
{
  DcmElement* element = nullptr;
  const OFCondition status = block.findAndGetPBElement(key, element, false);
  expect(status.good() == (element != nullptr), "what is found is there, and nothing else");
  return element ? std::optional(DcmVR(element->ident()).getVRName() + valueOf(*element, std::nullopt)) : std::nullopt;
}

void lookAt(PBItem& block, DcmItem& item, const Step& step)
{
  const char* text = nullptr;
  DcmSequenceOfItems* sequence = nullptr;
  DcmItem* nested = nullptr;
  DcmElement* element = nullptr;
  if (block.findAndGetPBString(step.key, text).good() && text)
    expect(std::string(text).size() < 1U << 20U, "a text ends");
  if (block.findAndGetPBSequence(step.key, sequence).good())
    expect(sequence && sequence->card() < 1U << 20U, "a sequence that is found is there");
  if (block.findAndGetPBSequenceItem(step.key, nested, step.number).good())
    expect(nested && nested->card() < 1U << 20U, "an item that is found is there");
  if (block.findAndGetPBElement(step.key, element, true).good())
    expect(element && element->getGTag() == PBItem::kGroup, "what is found in sequences is private");
  for (DcmObject* object = nullptr; (object = item.nextInContainer(object)) != nullptr;)
  {
    DcmTag tag = object->getTag();
    const bool isOurs = block.isObjectOurPrivateElement(*object);
    expect(!isOurs || PBItem::isOurPrivateTagKey(tag), "our elements lie in blocks");
    static_cast<void>(checkAndUpdateCanonicPrivateTag(item, tag));
  }
}

void remove(PBItem& block, DcmItem& item, const Step& step)
{
  const auto before = found(block, step.key);
  const std::size_t count = item.card();
  const std::unique_ptr<DcmElement> removed(block.removePB(step.key));
  expect(before.has_value() == (removed != nullptr), "what is there is taken out");
  expect(item.card() + (removed ? 1 : 0) == count && !found(block, step.key), "one element is taken out");
}

/// Also where no block has been calculated.
void relocateAgain(PBItem& block, DcmItem& item, const Step& step)
{
  const auto kept = [&item]
  {
    Elements elements = elementsOf(item);
    for (const Uint16 legacy : {Uint16{0xBA}, Uint16{0xDA}})
      elements.erase(DcmTagKey(PBItem::kGroup, legacy));
    return elements;
  };
  const Elements before = kept();
  if (!block.relocateLegacyPrivateTags(step.number > 0))
    expect(kept() == before, "moves that cannot be made lose nothing");
}

void change(PBItem& block, DcmItem& item, PBItem& other, const Step& step)
{
  const Uint8 bytes[] = {'b', 'y', 't', 'e'};
  const Uint16 words[] = {'w', 'o'};
  DcmItem* nested = nullptr;
  auto element = std::make_unique<DcmLongText>(PBItem::canonicTag(1));
  const auto expectValue = [&](const OFCondition& status, const char* value)
  {
    const auto now = found(block, step.key);
    expect(status.bad() || now == value, "a value that is put is there");
  };
  switch (step.operation)
  {
  case 0:
    return expectValue(block.putAndInsertPBString(step.key, "text"), "LOtext");
  case 1:
    return expectValue(block.putAndInsertPBUint8Array(step.key, bytes, 4), "OBbyte");
  case 2:
    return expectValue(block.putAndInsertPBUint16Array(step.key, words, 2), "OWwo");
  case 3:
    return expectValue(block.insertPBEmptyElement(step.key, EVR_ST), "ST");
  case 4:
    if (block.insertPB(step.key, element.get(), step.number > 0).good())
      expectValue((static_cast<void>(element.release()), EC_Normal), "LT");
    return;
  case 5:
    if (block.findOrCreatePBSequenceItem(step.key, nested, step.number).good())
      expect(nested && found(block, step.key), "an item that is made is there");
    return;
  case 6:
    if (block.copyPrivateElement(step.key, other).good())
      expect(found(block, step.key) == found(other, step.key), "a copy is the same");
    return;
  case 7:
    block.nukePrivateTags();
    return expect(elementsOf(item).size() == foreignElements(elementsOf(item)), "nothing private is left");
  case 8:
    return remove(block, item, step);
  case 9:
    static_cast<void>(block.getTag(step.key));
    return;
  case 10:
    static_cast<void>(block.checkAndReservePrivateBlock());
    return;
  case 11:
    return relocateAgain(block, item, step);
  default:
    return lookAt(block, item, step);
  }
}

} // namespace

/// A data set of any bytes: its moves lose nothing that has a place, and every operation keeps to its item's block.
/// What is done comes from the last 26 bytes of the input, the data set is what is left.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t length)
{
  FuzzedDataProvider input(bytes, length);
  const bool everywhere = input.ConsumeBool();
  const bool moveCanonic = input.ConsumeBool();
  std::array<Step, kSteps> steps{};
  for (Step& step : steps)
    step = {input.ConsumeIntegralInRange(0, kLastOperation), input.ConsumeIntegral<std::uint8_t>(),
            input.ConsumeIntegralInRange<signed long>(-2, 3)};
  const std::vector<char> given = input.ConsumeRemainingBytes<char>();

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
  const std::size_t foreign = foreignElements(elementsOf(dataset));
  for (const Step& step : steps)
    change(block, dataset, other, step);
  expect(foreignElements(elementsOf(dataset)) == foreign, "elements of other groups stay");
  fuzzing::expectRoundTrip(destination);
  return 0;
}
