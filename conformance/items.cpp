// Values of presentation states of any maker, whatever VR they have.
#include "conformance/items.h"

#include "conformance/ItemCache.h"
#include "base/text.h"
#include "dicom/contents.h"
#include "dicom/uid.h"
#include "dicom/values.h"

#include <charconv>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <unordered_set>

namespace tarn::conformance
{
namespace
{

/// The keyword (PS3.6), or "(gggg,eeee)" for a tag that has none.
std::string nameOf(const DcmTagKey& tag)
{
  DcmTag named(tag);
  const std::string name = named.getTagName();
  return name == DcmTag_ERROR_TagName ? tag.toString().c_str() : name;
}

/// PS3.5 6.2: DS and IS, without the blanks that pad them. Neither knows infinity.
std::optional<double> numberIn(const std::string& text)
{
  double number = 0;
  const char* start = text.data() + (base::startsWith(text, "+") ? 1 : 0);
  const auto [end, failure] = std::from_chars(start, text.data() + text.size(), number);
  if (text.empty() || failure != std::errc() || end != text.data() + text.size() || !std::isfinite(number))
    return std::nullopt;
  return number;
}

std::optional<double> valueAt(DcmElement& element, unsigned long i)
{
  switch (element.ident())
  {
  case EVR_FL:
  {
    Float32 value = 0;
    return element.getFloat32(value, i).good() ? std::make_optional<double>(value) : std::nullopt;
  }
  case EVR_FD:
  {
    Float64 value = 0;
    return element.getFloat64(value, i).good() ? std::make_optional<double>(value) : std::nullopt;
  }
  case EVR_SL:
  {
    Sint32 value = 0;
    return element.getSint32(value, i).good() ? std::make_optional<double>(value) : std::nullopt;
  }
  case EVR_SS:
  {
    Sint16 value = 0;
    return element.getSint16(value, i).good() ? std::make_optional<double>(value) : std::nullopt;
  }
  case EVR_UL:
  {
    Uint32 value = 0;
    return element.getUint32(value, i).good() ? std::make_optional<double>(value) : std::nullopt;
  }
  case EVR_US:
  {
    Uint16 value = 0;
    return element.getUint16(value, i).good() ? std::make_optional<double>(value) : std::nullopt;
  }
  default:
    return std::nullopt;
  }
}

DcmElement* elementOf(const Placed& where, const DcmTagKey& tag)
{
  return where.cache ? where.cache->find(where.item, tag) : ItemCache().find(where.item, tag);
}

} // namespace

std::string placeOf(const Placed& where)
{
  std::vector<std::string> steps;
  std::size_t index = where.index;
  for (const SequencePlace* place = where.sequence.get(); place; place = place->holder.get())
  {
    steps.push_back(base::joined(nameOf(place->tag), "[", index, "]"));
    index = place->index;
  }
  std::string path;
  for (auto step = steps.rbegin(); step != steps.rend(); ++step)
    path += (path.empty() ? "" : ".") + *step;
  return path;
}

std::string placeOf(const Placed& where, const DcmTagKey& tag)
{
  const std::string path = placeOf(where);
  return path.empty() ? nameOf(tag) : path + "." + nameOf(tag);
}

std::vector<Placed> itemsOf(const Placed& where, DcmSequenceOfItems& sequence)
{
  const auto place =
      std::make_shared<const SequencePlace>(SequencePlace{sequence.getTag(), where.sequence, where.index});
  std::vector<Placed> items;
  for (DcmItem* item : dicom::itemsOf(sequence))
    items.push_back({*item, place, items.size(), where.cache});
  return items;
}

std::vector<Placed> itemsOf(const Placed& where, const DcmTagKey& sequence)
{
  auto* const found = sequenceIn(elementOf(where, sequence));
  return found ? itemsOf(where, *found) : std::vector<Placed>();
}

std::vector<DcmElement*> elementsOf(const Placed& where)
{
  return where.cache ? where.cache->elementsOf(where.item) : ItemCache().elementsOf(where.item);
}

bool has(const Placed& where, const DcmTagKey& tag)
{
  return elementOf(where, tag) != nullptr;
}

bool hasValue(const Placed& where, const DcmTagKey& tag)
{
  DcmElement* const element = elementOf(where, tag);
  if (auto* const sequence = sequenceIn(element))
    return sequence->card() > 0;
  return element && element->getLengthField() > 0;
}

std::string textOf(const Placed& where, const DcmTagKey& tag)
{
  DcmElement* const element = elementOf(where, tag);
  std::string text;
  if (!element || dicom::readBytes(*element, text).bad())
    return "";
  return base::trimmed(text.substr(0, text.find('\0')));
}

std::vector<std::string> textsOf(const Placed& where, const DcmTagKey& tag)
{
  std::vector<std::string> texts;
  base::split3<std::vector<std::string>, '\\'>(textOf(where, tag), texts);
  for (std::string& text : texts)
    text = base::trimmed(text);
  return texts;
}

std::optional<std::vector<double>> numbersOf(const Placed& where, const DcmTagKey& tag)
{
  DcmElement* const element = elementOf(where, tag);
  if (!element || element->getLengthField() == 0)
    return std::nullopt;
  std::vector<double> numbers;
  const bool isText = element->ident() == EVR_DS || element->ident() == EVR_IS;
  const std::vector<std::string> texts = isText ? textsOf(where, tag) : std::vector<std::string>();
  const unsigned long count = isText ? texts.size() : element->getVM();
  for (unsigned long i = 0; i < count; ++i)
  {
    const std::optional<double> number = isText ? numberIn(texts[i]) : valueAt(*element, i);
    if (!number)
      return std::nullopt;
    numbers.push_back(*number);
  }
  return numbers.empty() ? std::nullopt : std::make_optional(std::move(numbers));
}

std::optional<double> numberOf(const Placed& where, const DcmTagKey& tag)
{
  const auto numbers = numbersOf(where, tag);
  return numbers && numbers->size() == 1 ? std::make_optional(numbers->front()) : std::nullopt;
}

void putText(const Placed& where, const DcmTagKey& tag, DcmEVR vr, const std::string& text)
{
  where.item.putAndInsertString(DcmTag(tag, vr), text.c_str());
}

void putCoordinates(const Placed& where, const DcmTagKey& tag, const std::vector<Float32>& values)
{
  where.item.putAndInsertFloat32Array(DcmTag(tag, EVR_FL), values.data(), values.size());
}

void putNumber(const Placed& where, const DcmTagKey& tag, Uint16 value)
{
  where.item.putAndInsertUint16(DcmTag(tag, EVR_US), value);
}

void remove(const Placed& where, const DcmTagKey& tag)
{
  where.item.findAndDeleteElement(tag);
}

std::function<void()> puttingText(const Placed& where, const DcmTagKey& tag, DcmEVR vr, const std::string& text)
{
  return [where, tag, vr, text] { putText(where, tag, vr, text); };
}

std::function<void()> removing(const Placed& where, const DcmTagKey& tag)
{
  return [where, tag] { remove(where, tag); };
}

DcmItem& appendItem(const Placed& where, const DcmTagKey& sequence)
{
  if (!dynamic_cast<DcmSequenceOfItems*>(elementOf(where, sequence)))
    remove(where, sequence);
  constexpr long kAfterTheLast = -2;
  DcmItem* item = nullptr;
  if (const OFCondition made = where.item.findOrCreateSequenceItem(DcmTag(sequence, EVR_SQ), item, kAfterTheLast);
      made.bad())
    throw std::runtime_error(placeOf(where, sequence) + ": " + made.text());
  return *item;
}

/// The sequence goes round once, from its front to its end: the toolkit finds an item elsewhere by counting.
void removeItems(const Placed& where, const DcmTagKey& sequence, const std::vector<Placed>& items)
{
  auto* const found = dynamic_cast<DcmSequenceOfItems*>(elementOf(where, sequence));
  if (!found)
    return;
  std::unordered_set<const DcmItem*> dropped;
  for (const Placed& item : items)
    dropped.insert(&item.item);
  for (unsigned long left = found->card(); left > 0; --left)
    if (std::unique_ptr<DcmItem> item(found->remove(0UL)); dropped.count(item.get()) == 0)
      static_cast<void>(dicom::insertOwned(*found, std::move(item)));
  if (found->card() == 0)
    remove(where, sequence);
}

bool isStrictUid(const std::string& text)
{
  const bool hasRoot = text.size() > 1 && text[0] <= '2' && text[1] == '.';
  if (!dicom::isUid(text) || !hasRoot || text.back() == '.')
    return false;
  for (std::size_t i = 0; i < text.size(); ++i)
    if (i == 0 || text[i - 1] == '.')
      if (text[i] == '.' || (text[i] == '0' && i + 1 < text.size() && text[i + 1] != '.'))
        return false;
  return true;
}

bool isWhole(std::optional<double> value, double least, double most)
{
  return value && *value >= least && *value <= most && *value == std::floor(*value);
}

} // namespace tarn::conformance
