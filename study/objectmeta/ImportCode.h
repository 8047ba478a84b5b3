#pragma once

namespace tarn::db
{

/// Why an object meta file was not imported, as the log says it.
enum ImportCode : int
{
  kImported = 0,
  kNoObjectTable = -1,
  kNoObjCacheTable = -2,
  kMetaDirectoryFailed = -3,
  kMetaFileUnreadable = -4, ///< also when it is no regular file
  kNoObjectCountLine = -5,
  kBadObjectCountLine = -6,
  kNoColumnCountLine = -7,
  kBadColumnCountLine = -8,
  kNoColumnLine = -9,
  kWrongColumnCount = -10,
  kObjectCountUnknown = -11, ///< the database has no row for the study
  kNoKeyColumn = -20,
  kObjectCountDiffers = -21,
  kBadRow = -23,
  kRowsRanOut = -32
};

} // namespace tarn::db
