// Values of presentation states of any maker, whatever VR they have.
#include "conformance/items.h"

#include "conformance/values.h"
#include "dicom/contents.h"
#include "dicom/uid.h"
#include "dicom/values.h"

#include <cmath>
#include <memory>
#include <stdexcept>
#include <unordered_set>

namespace tarn::conformance
{
std::string placeOf(const Placed& where)
{
  return where.contents.place();
}

std::string placeOf(const Placed& where, const DcmTagKey& tag)
{
  const std::string path = placeOf(where);
  return path.empty() ? nameOf(tag) : path + "." + nameOf(tag);
}

DcmElement* elementOf(const Placed& where, const DcmTagKey& tag)
{
  const Contents::Entry* const entry = where.contents.find(tag);
  return entry ? entry->element : nullptr;
}

std::pmr::vector<Contents::Entry>& elementsOf(const Placed& where)
{
  where.contents.state.asked.addAll();
  return where.contents.eachElement();
}

std::pmr::vector<Contents::Entry>& eachElementOf(const Placed& where)
{
  return where.contents.eachElement();
}

const std::vector<Placed>& itemsOf(const Placed& where, Contents::Entry& entry)
{
  return where.contents.itemsOf(entry);
}

const std::vector<Placed>& itemsOf(const Placed& where, const DcmTagKey& sequence)
{
  static const std::vector<Placed> kNone;
  Contents::Entry* const entry = where.contents.find(sequence);
  return entry ? where.contents.itemsOf(*entry) : kNone;
}

bool has(const Placed& where, const DcmTagKey& tag)
{
  return where.contents.find(tag) != nullptr;
}

bool hasValue(const Placed& where, const DcmTagKey& tag)
{
  const Contents::Entry* const entry = where.contents.find(tag);
  return entry && (entry->sequence ? entry->sequence->card() > 0 : entry->element->getLengthField() > 0);
}

const std::string& textOf(const Placed& where, const DcmTagKey& tag)
{
  static const std::string kNone;
  Contents::Entry* const entry = where.contents.find(tag);
  return entry ? where.contents.textOf(*entry) : kNone;
}

const std::vector<Float32>& coordinatesOf(const Placed& where, const DcmTagKey& tag)
{
  static const std::vector<Float32> kNone;
  Contents::Entry* const entry = where.contents.find(tag);
  return entry ? where.contents.coordinatesOf(*entry) : kNone;
}

std::vector<std::string> textsOf(const Placed& where, const DcmTagKey& tag)
{
  return valuesIn(textOf(where, tag));
}

const std::optional<std::vector<double>>& numbersOf(const Placed& where, const DcmTagKey& tag)
{
  static const std::optional<std::vector<double>> kNone;
  Contents::Entry* const entry = where.contents.find(tag);
  return entry ? where.contents.numbersOf(*entry) : kNone;
}

std::optional<double> numberOf(const Placed& where, const DcmTagKey& tag)
{
  const auto& numbers = numbersOf(where, tag);
  return numbers && numbers->size() == 1 ? std::make_optional(numbers->front()) : std::nullopt;
}

void putText(const Placed& where, const DcmTagKey& tag, DcmEVR vr, const std::string& text)
{
  where.item.putAndInsertString(DcmTag(tag, vr), text.c_str());
  where.contents.change(tag);
}

void putCoordinates(const Placed& where, const DcmTagKey& tag, const std::vector<Float32>& values)
{
  where.item.putAndInsertFloat32Array(DcmTag(tag, EVR_FL), values.data(), values.size());
  where.contents.change(tag);
}

void putNumbers(const Placed& where, const DcmTagKey& tag, const std::vector<Uint16>& values)
{
  where.item.putAndInsertUint16Array(DcmTag(tag, EVR_US), values.data(), values.size());
  where.contents.change(tag);
}

void putNumber(const Placed& where, const DcmTagKey& tag, Uint16 value)
{
  putNumbers(where, tag, {value});
}

void putBytes(const Placed& where, DcmElement& element, const std::string& bytes)
{
  element.putString(bytes.data(), static_cast<Uint32>(bytes.size()));
  where.contents.change(element.getTag());
}

void remove(const Placed& where, const DcmTagKey& tag)
{
  if (const Contents::Entry* const entry = where.contents.find(tag))
    delete where.item.remove(entry->element);
  where.contents.changeByRemoval(tag);
}

std::function<void()> puttingText(const Placed& where, const DcmTagKey& tag, DcmEVR vr, const std::string& text)
{
  return [where, tag, vr, text] { putText(where, tag, vr, text); };
}

std::function<void()> removing(const Placed& where, const DcmTagKey& tag)
{
  return [where, tag] { remove(where, tag); };
}

Placed appendItem(const Placed& where, const DcmTagKey& sequence)
{
  if (const Contents::Entry* const entry = where.contents.find(sequence); !entry || !entry->sequence)
    remove(where, sequence);
  constexpr long kAfterTheLast = -2;
  DcmItem* item = nullptr;
  if (const OFCondition made = where.item.findOrCreateSequenceItem(DcmTag(sequence, EVR_SQ), item, kAfterTheLast);
      made.bad())
    throw std::runtime_error(placeOf(where, sequence) + ": " + made.text());
  where.contents.change(sequence);
  return where.contents.state.apart(*item);
}

/// The sequence goes round once, from its front to its end: the toolkit finds an item elsewhere by counting.
void removeItems(const Placed& where, const DcmTagKey& sequence, const std::vector<Placed>& items)
{
  const Contents::Entry* const entry = where.contents.find(sequence);
  if (!entry || !entry->sequence)
    return;
  std::unordered_set<const DcmItem*> dropped;
  for (const Placed& item : items)
    dropped.insert(&item.item);
  DcmSequenceOfItems& found = *entry->sequence;
  for (unsigned long left = found.card(); left > 0; --left)
    if (std::unique_ptr<DcmItem> item(found.remove(0UL)); dropped.count(item.get()) == 0)
      static_cast<void>(dicom::insertOwned(found, std::move(item)));
  where.contents.change(sequence);
  if (found.card() == 0)
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
