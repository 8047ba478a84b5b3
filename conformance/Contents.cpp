// What the items of a presentation state hold, read once.
#include "conformance/Contents.h"

#include "base/text.h"
#include "conformance/values.h"
#include "dicom/contents.h"
#include "dicom/values.h"

#include <algorithm>

namespace tarn::conformance
{
namespace
{

const std::string kNoText;

/// It costs less than to ask for the type of every leaf.
DcmSequenceOfItems* sequenceIn(DcmElement& element)
{
  return element.isLeaf() ? nullptr : dynamic_cast<DcmSequenceOfItems*>(&element);
}

} // namespace

std::string nameOf(const DcmTagKey& tag)
{
  DcmTag named(tag);
  const std::string name = named.getTagName();
  return name == DcmTag_ERROR_TagName ? tag.toString().c_str() : name;
}

Placed StateContents::root()
{
  if (items.empty())
    items.emplace_back(*this, dataset);
  return {dataset, items.front()};
}

Placed StateContents::apart(DcmItem& item)
{
  return {item, items.emplace_back(*this, item)};
}

void StateContents::changeEverywhere(const DcmTagKey& tag)
{
  for (Contents& contents : items)
    contents.changeByRemoval(tag);
}

void StateContents::takeNote()
{
  asked.clear();
  changed.clear();
}

Contents::Contents(StateContents& state, DcmItem& item)
  : state(state), item(item), tags(&state.memory), entries(&state.memory)
{
}

Contents::Contents(StateContents& state, DcmItem& item, Contents& holder, const DcmTagKey& sequence, std::size_t index)
  : state(state), item(item), holder(&holder), sequence(sequence), index(index), tags(&state.memory),
    entries(&state.memory)
{
}

/// What was known of elements that have not been changed since is kept: they stand in the same order as before.
void Contents::read()
{
  std::vector<Entry>& before = state.before;
  before.assign(entries.begin(), entries.end());
  entries.clear();
  tags.clear();
  present.clear();
  if (entries.capacity() == 0)
  {
    entries.reserve(item.card());
    tags.reserve(item.card());
  }
  auto known = before.begin();
  for (DcmObject* object = item.nextInContainer(nullptr); object; object = item.nextInContainer(object))
  {
    auto* const element = static_cast<DcmElement*>(object); // NOLINT(*-static-cast-downcast): an item has nothing else
    const DcmTagKey& tag = element->getTag();
    const bool isKnown = !changed.has(tag);
    while (isKnown && known != before.end() && known->element != element)
      ++known;
    if (isKnown && known != before.end())
      entries.push_back(*known++);
    else
      entries.push_back({element, sequenceIn(*element), element->ident()});
    tags.push_back(numberOf(tag));
    present.add(tag);
  }
  changed.clear();
  isRead = true;
}

std::pmr::vector<Contents::Entry>& Contents::eachElement()
{
  if (!isRead)
    read();
  state.asked.addAnyPut();
  return entries;
}

Contents::Entry* Contents::find(const DcmTagKey& tag)
{
  if (!isRead)
    read();
  state.asked.add(tag);
  if (!present.has(tag))
    return nullptr;
  const auto place = std::find(tags.begin(), tags.end(), numberOf(tag));
  return place == tags.end() ? nullptr : &entries[static_cast<std::size_t>(place - tags.begin())];
}

/// The toolkit puts NUL in the place of blanks at the end when it reads a value, and blanks again into a file.
const std::string& Contents::bytesOf(Entry& entry)
{
  if (entry.bytes)
    return *entry.bytes;
  std::string bytes;
  entry.bytes = &kNoText;
  static_cast<void>(dicom::readBytes(*entry.element, bytes));
  bytes.resize(bytes.find_last_not_of('\0') + 1);
  if (!bytes.empty())
    entry.bytes = &state.texts.emplace_back(std::move(bytes));
  return *entry.bytes;
}

const std::string& Contents::textOf(Entry& entry)
{
  if (entry.text)
    return *entry.text;
  std::string text;
  entry.text = &kNoText;
  static_cast<void>(dicom::readBytes(*entry.element, text));
  text.resize(std::min(text.find('\0'), text.size()));
  text.resize(text.find_last_not_of(' ') + 1);
  if (!text.empty())
    entry.text = &state.texts.emplace_back(text, text.find_first_not_of(' '));
  return *entry.text;
}

const std::optional<std::vector<double>>& Contents::numbersOf(Entry& entry)
{
  const bool isText = entry.vr == EVR_DS || entry.vr == EVR_IS;
  if (!entry.numbers)
    entry.numbers = &state.numbers.emplace_back(numbersIn(*entry.element, isText ? textOf(entry) : kNoText));
  return *entry.numbers;
}

const std::vector<Float32>& Contents::coordinatesOf(Entry& entry)
{
  if (!entry.coordinates)
    entry.coordinates = &state.coordinates.emplace_back(coordinatesIn(*entry.element));
  return *entry.coordinates;
}

const std::vector<Placed>& Contents::itemsOf(Entry& entry)
{
  static const std::vector<Placed> kNone;
  if (!entry.sequence)
    return kNone;
  if (entry.items)
    return *entry.items;
  std::vector<Placed>& list = state.lists.emplace_back();
  entry.items = &list;
  list.reserve(entry.sequence->card());
  for (DcmItem* nested : dicom::itemsOf(*entry.sequence))
    list.push_back({*nested, state.items.emplace_back(state, *nested, *this, entry.element->getTag(), list.size())});
  return list;
}

void Contents::change(const DcmTagKey& tag)
{
  state.changed.addAnyPut();
  changeByRemoval(tag);
}

void Contents::changeByRemoval(const DcmTagKey& tag)
{
  isRead = false;
  changed.add(tag);
  state.changed.add(tag);
}

void Contents::changePlace()
{
  if (holder)
    holder->change(sequence);
}

std::string Contents::place() const
{
  std::vector<std::string> steps;
  for (const Contents* nested = this; nested->holder; nested = nested->holder)
    steps.push_back(nameOf(nested->sequence) + "[" + std::to_string(nested->index) + "]");
  std::string path;
  for (auto step = steps.rbegin(); step != steps.rend(); ++step)
    path += (path.empty() ? "" : ".") + *step;
  return path;
}

} // namespace tarn::conformance
