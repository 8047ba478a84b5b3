// The installed data dictionary, compiled in.
#include "dicom/attributeTable.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tarn::dicom
{
namespace
{

#include "dictionary.inc"

const char* text(Uint32 place)
{
  return place == 0 ? nullptr : &kTexts[place];
}

} // namespace

AttributeRows attributes()
{
  return {std::begin(kAttributes), std::end(kAttributes)};
}

AttributeRows repeatingAttributes()
{
  return {std::begin(kRepeatingAttributes), std::end(kRepeatingAttributes)};
}

const char* attributeName(Uint16 group, Uint16 element)
{
  const auto isBefore = [](const Attribute& row, const auto& tag) { return std::pair(row.group, row.element) < tag; };
  const auto* const found =
      std::lower_bound(std::begin(kAttributes), std::end(kAttributes), std::pair(group, element), isBefore);
  const bool isKnown = found != std::end(kAttributes) && found->group == group && found->element == element;
  return isKnown && found->privateCreator == 0 ? text(found->name) : nullptr;
}

std::unique_ptr<DcmDictEntry> dictionaryEntry(const Attribute& row)
{
  auto entry = std::make_unique<DcmDictEntry>(row.group, row.element, row.upperGroup, row.upperElement,
                                              DcmVR(static_cast<DcmEVR>(row.vr)), text(row.name), row.vmMin, row.vmMax,
                                              text(row.version), OFFalse, text(row.privateCreator));
  entry->setGroupRangeRestriction(static_cast<DcmDictRangeRestriction>(row.groupRange));
  entry->setElementRangeRestriction(static_cast<DcmDictRangeRestriction>(row.elementRange));
  return entry;
}

} // namespace tarn::dicom
