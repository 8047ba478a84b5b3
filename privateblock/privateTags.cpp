// The relocation of legacy elements over whole objects and files; the converter itself does not use it.
#include "privateblock/privateTags.h"

#include "dicom/contents.h"
#include "dicom/loadFile.h"
#include "dicom/saveFile.h"
#include "privateblock/PBItem.h"

namespace
{

bool relocateEverywhere(DcmItem& item, bool moveCanonic)
{
  bool good = PBItem(item).calcPrivateBlock(moveCanonic);
  for (DcmItem* nested : tarn::dicom::nestedItems(item))
    good = relocateEverywhere(*nested, moveCanonic) && good;
  return good;
}

} // namespace

bool handlePrivateTags(DcmItem& item)
{
  return relocateEverywhere(item, false);
}

bool handleCanonicAndOldPrivateTags(DcmItem& item)
{
  return relocateEverywhere(item, true);
}

bool checkAndUpdateCanonicPrivateTag(DcmItem& item, DcmTag& tag)
{
  const bool canonic = PBItem::isOurPrivateTagKey(tag) && (tag.getElement() >> 8U) == 0x10;
  return !canonic || PBItem(item).convertTag(tag);
}

OFCondition convertFilePrivateTags(const std::string& path)
{
  DcmFileFormat file;
  if (const OFCondition status = tarn::dicom::loadFile(file, path); status.bad())
    return status;
  if (!handlePrivateTags(*file.getDataset()))
    return EC_PBPrivateTagProblem;
  return tarn::dicom::saveFile(file, path);
}
