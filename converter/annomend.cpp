// The entry points of programs that hold the dataset in memory.
#include "converter/annomend.h"

#include "dicom/values.h"
#include "privateblock/PBItem.h"
#include "converter/PSConverter.h"

#include <cstring>
#include <utility>

namespace impsconverter
{

bool convertPSObject(tarn::db::DBConnector& db, DcmFileFormat* file, std::list<DcmFileFormat*>& out,
                     bool touchObjectCache)
{
  Account ignored;
  return convertPSObject(db, file, out, touchObjectCache, ignored);
}

bool convertPSObject(tarn::db::DBConnector& db, DcmFileFormat* file, std::list<DcmFileFormat*>& out,
                     bool touchObjectCache, Account& account)
{
  PSConverter converter(db, file, &out, PSC_includeOriginal | PSC_fixOriginal, false);
  const bool converted = converter.convert(touchObjectCache);
  account = std::move(converter.account());
  return converted;
}

bool needPSConversion(DcmFileFormat& file, const char* sopClassUID)
{
  DcmDataset& dataset = *file.getDataset();
  std::string classUid;
  if (sopClassUID)
    classUid = sopClassUID;
  else if (tarn::dicom::readUid(dataset, DCM_SOPClassUID, classUid).bad())
    return false;
  if (!isPSSopClass(classUid.c_str()))
    return false;
  DcmElement* pluginState = nullptr;
  const OFCondition found = PBItem(dataset).findAndGetPBElement(PBItem::kPluginStateKey, pluginState, false);
  return found.good() && pluginState && pluginState->getLengthField() > 0;
}

bool isPSSopClass(const char* sopClassUID)
{
  return sopClassUID && std::strcmp(sopClassUID, UID_GrayscaleSoftcopyPresentationStateStorage) == 0;
}

} // namespace impsconverter
