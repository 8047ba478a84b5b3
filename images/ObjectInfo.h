#pragma once

#include "db/DBConnector.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <string>

namespace tarn::db
{
struct ObjectRecord;
}

namespace impsconverter
{

class ReferencedImages;
class StudyObjects;

/// The image that a presentation state refers to.
class ObjectInfo
{
public:
  /// Results of `collect`.
  enum Result
  {
    kDatabaseFailure = 0, ///< the database failed
    kNotFound = 1,        ///< found nowhere, or not with its UIDs
    kInReferences = 2,    ///< found in the presentation state's own Referenced Series Sequence
    kInDatabase = 3       ///< found in the object table
  };

  /// `study` is the key of the object table (the Study Instance UID); `name` is a prefix, a point and the SOP Instance
  /// UID ("CT.1.2.3").
  ObjectInfo(const std::string& study, const std::string& name);

  /// Fills the UIDs from the object table or, where it does not know the object, from the Referenced Series Sequence
  /// (0008,1115) of the presentation state, which may be null. Messages go to the console; UIDs that cannot be found
  /// stay empty.
  [[nodiscard]] int collect(tarn::db::DBConnector& db, DcmSequenceOfItems* referencedSeries);
  /// The same with rows that may have been asked for before, and a sequence that was indexed before.
  [[nodiscard]] int collect(StudyObjects& objects, ReferencedImages& references);

  /// A decimal number, trailing text ignored; `fallback` for a null text and where the low 16 bits of the number are
  /// zero.
  static int toInt(const char* text, int fallback);

  const std::string studyKey;
  const std::string objectName;
  std::string sopClassUid;
  std::string sopInstanceUid;
  std::string seriesInstanceUid;
  Uint16 columns = 1; ///< image pixels; 1 when the object table does not say
  Uint16 rows = 1;
  Uint16 frames = 1;

private:
  void copyRecord(const tarn::db::ObjectRecord& record);
  int collectFromReferences(ReferencedImages& references);
};

} // namespace impsconverter
