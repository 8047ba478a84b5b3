// Which image an ID line means: the object table's row, else the presentation state's own reference.
#include "images/ObjectInfo.h"

#include <cstddef>
#include <cstdlib>

#include "base/report.h"
#include "db/DBException.h"
#include "db/ObjectAccessor.h"
#include "dicom/values.h"
#include "images/ImageSources.h"

namespace impsconverter
{
namespace
{

/// Rows and Columns are unsigned shorts (PS3.3 C.7.6.3): the low 16 bits of what the table says count.
Uint16 atLeastOne(int value)
{
  const auto number = static_cast<Uint16>(value);
  return number == 0 ? Uint16{1} : number;
}

} // namespace

ObjectInfo::ObjectInfo(const std::string& studyKey, const std::string& objectName)
  : studyKey(studyKey), objectName(objectName)
{
}

int ObjectInfo::collect(tarn::db::DBConnector& db, DcmSequenceOfItems* referencedSeries)
{
  tarn::images::ImageSources sources(db, studyKey, referencedSeries);
  return collect(sources);
}

int ObjectInfo::collect(tarn::images::ImageSources& sources)
{
  const tarn::db::ObjectRecord* record = nullptr;
  try
  {
    record = sources.findRow(objectName);
  }
  catch (const tarn::db::DBException& exception)
  {
    tarn::base::report("Database problem: ", exception.what());
    return databaseFailure;
  }
  if (!record)
    return collectFromReferences(sources);
  copyRecord(*record);
  return inDatabase;
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

int ObjectInfo::collectFromReferences(tarn::images::ImageSources& sources)
{
  tarn::base::report("File ", objectName, " was not found in the database - checking referenced series sequence");
  const std::size_t point = objectName.find('.');
  if (point == std::string::npos)
  {
    tarn::base::report("Invalid object name ", objectName, "; contains no dot ('.')");
    return notFound;
  }
  const std::string sought = objectName.substr(point + 1);
  const tarn::images::ImageSources::Reference* reference = sources.findReference(sought);
  if (!reference)
    return notFound;
  // PS3.3 C.11.11: the series item holds the Series Instance UID, the image item both SOP UIDs (table 10-3).
  sopInstanceUid = sought;
  const bool hasClass = tarn::dicom::readUid(*reference->image, DCM_ReferencedSOPClassUID, sopClassUid).good();
  if (tarn::dicom::readUid(*reference->series, DCM_SeriesInstanceUID, seriesInstanceUid).bad())
  {
    tarn::base::report("Series Instance UID could not get for object ", objectName);
    return notFound;
  }
  return hasClass ? inReferences : notFound;
}

int ObjectInfo::toInt(const char* text, int fallback)
{
  if (!text)
    return fallback;
  const auto number = static_cast<int>(std::strtol(text, nullptr, 10));
  return (static_cast<unsigned>(number) & 0xFFFFU) == 0 ? fallback : number;
}

} // namespace impsconverter
