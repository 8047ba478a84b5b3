#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>

#include "db/DBConnector.h"
#include "db/ObjectAccessor.h"

namespace tarn::images
{

/// What one run knows of images: the object table's rows of one study, and the presentation state's own Referenced
/// Series Sequence (PS3.3 C.11.11). Both are asked once for an image, so that the time of many look-ups stays linear.
class ImageSources
{
public:
  struct Reference
  {
    DcmItem* series; ///< item of the Referenced Series Sequence (0008,1115)
    DcmItem* image;  ///< item of its Referenced Image Sequence (0008,1140)
  };

  /// The number of rows that are remembered, in less than 2 MB. One more, and all are forgotten.
  static constexpr std::size_t kMostRemembered = 4096;

  /// Borrows `db`, and the sequence with its items; a null sequence is an empty one.
  ImageSources(db::DBConnector& db, const std::string& studyUid, DcmSequenceOfItems* referencedSeries)
    : db(db), studyUid(studyUid), unindexed(referencedSeries)
  {
  }

  /// Returns the row of the object `name` ("CT.1.2.3"), which is valid until the next call; null when there is none.
  /// Throws DBException; a failure is not remembered.
  const db::ObjectRecord* findRow(const std::string& name);
  /// Returns the first image item that refers to the instance; null when none does.
  const Reference* findReference(const std::string& sopInstanceUid);

private:
  void addSeries(DcmItem& series);

  db::DBConnector& db;
  std::string studyUid;
  DcmSequenceOfItems* unindexed; ///< null once it is indexed
  std::unordered_map<std::string, std::optional<db::ObjectRecord>> rows;
  std::unordered_map<std::string, Reference> references;
};

} // namespace tarn::images
