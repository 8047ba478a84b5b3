#include "images/ObjectInfo.h"

#include "base/report.h"
#include "db/DBException.h"
#include "dicom/values.h"
#include "db/ObjectAccessor.h"
#include "images/ReferencedImages.h"
#include "images/StudyObjects.h"

#include <cstdlib>
#include <cstddef>

namespace impsconverter
{
namespace
{

Uint16 atLeastOne(int value)
{
  const auto number = static_cast<Uint16>(value);
  return number == 0 ? Uint16{1} : number;
}

} // namespace

ObjectInfo::ObjectInfo(const std::string& study, const std::string& name) : studyKey(study), objectName(name) {}

int ObjectInfo::collect(tarn::db::DBConnector& db, DcmSequenceOfItems* referencedSeries)
{
  StudyObjects objects(db, studyKey);
  ReferencedImages references(referencedSeries);
  return collect(objects, references);
}

int ObjectInfo::collect(StudyObjects& objects, ReferencedImages& references)
try
{
  const tarn::db::ObjectRecord* record = objects.find(objectName);
  if (!record)
    return collectFromReferences(references);
  copyRecord(*record);
  return kInDatabase;
}
catch (const tarn::db::DBException& exception)
{
  tarn::base::report("Database problem: ", exception.what());
  return kDatabaseFailure;
}

void ObjectInfo::copyRecord(const tarn::db::ObjectRecord& record)
{
  if (record.sopClassUid.empty() || record.sopInstanceUid.empty() || record.seriesInstanceUid.empty())
    tarn::base::report(
        "Either SOP Instance UID, SOP Class UID or Series Instance UID was missing from the object table for ",
        objectName);
  sopClassUid = record.sopClassUid;
  sopInstanceUid = record.sopInstanceUid;
  seriesInstanceUid = record.seriesInstanceUid;
  columns = atLeastOne(record.columns);
  rows = atLeastOne(record.rows);
  frames = atLeastOne(record.frames);
}

int ObjectInfo::collectFromReferences(ReferencedImages& references)
{
  tarn::base::report("File ", objectName, " was not found in the database - checking referenced series sequence");
  const std::size_t point = objectName.find('.');
  if (point == std::string::npos)
  {
    tarn::base::report("Invalid object name ", objectName, "; contains no dot ('.')");
    return kNotFound;
  }
  const std::string sought = objectName.substr(point + 1);
  const ReferencedImages::Reference* reference = references.find(sought);
  if (!reference)
    return kNotFound;
  sopInstanceUid = sought;
  const bool hasClass = tarn::dicom::readUid(*reference->image, DCM_ReferencedSOPClassUID, sopClassUid).good();
  if (tarn::dicom::readUid(*reference->series, DCM_SeriesInstanceUID, seriesInstanceUid).bad())
  {
    tarn::base::report("Series Instance UID could not get for object ", objectName);
    return kNotFound;
  }
  return hasClass ? kInReferences : kNotFound;
}

int ObjectInfo::toInt(const char* text, int fallback)
{
  if (!text)
    return fallback;
  const auto number = static_cast<int>(std::strtol(text, nullptr, 10));
  return (static_cast<unsigned>(number) & 0xFFFFU) == 0 ? fallback : number;
}

} // namespace impsconverter
