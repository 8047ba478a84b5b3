#pragma once

#include <string>

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include "db/DBConnector.h"

namespace tarn::db
{
struct ObjectRecord;
}

namespace tarn::images
{
class ImageSources;
}

namespace impsconverter
{

/// The image that a presentation state refers to.
class ObjectInfo
{
public:
  /// Results of `collect`.
  enum Result
  {
    databaseFailure = 0, ///< the database failed
    notFound = 1,        ///< found nowhere, or not with its UIDs
    inReferences = 2,    ///< found in the presentation state's own Referenced Series Sequence
    inDatabase = 3       ///< found in the object table
  };

  /// `studyKey` is the key of the object table (the Study Instance UID); `objectName` is a prefix, a point and the SOP
  /// Instance UID ("CT.1.2.3").
  ObjectInfo(const std::string& studyKey, const std::string& objectName);

  /// Fills the UIDs from the object table or, where the table does not know the object, from the Referenced Series
  /// Sequence (0008,1115) of the presentation state, which may be null. Reports failures on the console; UIDs that
  /// cannot be found stay empty. Returns a Result.
  [[nodiscard]] int collect(tarn::db::DBConnector& db, DcmSequenceOfItems* referencedSeries);
  /// As above, with what the run knows already.
  [[nodiscard]] int collect(tarn::images::ImageSources& sources);

  /// Returns the decimal number at the start of `text`; `fallback` for a null text and where the low 16 bits of the
  /// number are zero.
  static int toInt(const char* text, int fallback);

  const std::string studyKey;
  const std::string objectName;
  std::string sopClassUid;
  std::string sopInstanceUid;
  std::string seriesInstanceUid;
  Uint16 columns = 1; ///< image pixels (PS3.3 C.7.6.3); 1 when the object table does not say
  Uint16 rows = 1;
  Uint16 frames = 1; ///< Number of Frames (PS3.3 C.7.6.6)

private:
  void copyRecord(const tarn::db::ObjectRecord& record);
  int collectFromReferences(tarn::images::ImageSources& sources);
};

} // namespace impsconverter
