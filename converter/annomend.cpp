// The entry points of programs that hold the dataset in memory.
#include "converter/annomend.h"

#include "dicom/values.h"
#include "privateblock/PBItem.h"
#include "converter/PSConverter.h"

#include <cstring>

namespace impsconverter
{

bool convertPSObject(tarn::db::DBConnector& db, DcmFileFormat* file, std::list<DcmFileFormat*>& out,
                     bool touchObjectCache)
{
  return PSConverter(db, file, &out, PSC_includeOriginal | PSC_fixOriginal, false).convert(touchObjectCache);
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
