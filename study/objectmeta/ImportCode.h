#pragma once

namespace tarn::study
{

/// What became of an object meta file. Negative values are the reasons that the log gives for a failed import.
enum class ImportCode : int
{
  missing = 1, ///< there is no such file
  imported = 0,
  noObjectTable = -1,
  noObjCacheTable = -2,
  metaDirectoryFailed = -3,
  metaFileUnreadable = -4, ///< also when it is no regular file
  noObjectCountLine = -5,
  badObjectCountLine = -6,
  noColumnCountLine = -7,
  badColumnCountLine = -8,
  noColumnLine = -9,
  wrongColumnCount = -10,
  objectCountUnknown = -11, ///< the database has no row for the study
  noKeyColumn = -20,
  objectCountDiffers = -21,
  badRow = -23,
  rowsRanOut = -32
};

} // namespace tarn::study
