#include "dicom/attributeTable.h"

#include <iterator>

namespace tarn::dicom
{
namespace
{

#include "dictionary.inc"

const char* text(Uint32 place)
{
  return place == 0 ? nullptr : &kTexts[place / kTextBlock][place % kTextBlock];
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
