#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <string>
#include <unordered_map>

namespace tarn::images
{

/// An index of a Referenced Series Sequence (PS3.3 C.11.11): the items that refer to each image. The sequence is walked
/// once, at the first look-up, so that the time of many look-ups stays linear. Borrows the sequence and its items.
class ReferencedImages
{
public:
  struct Reference
  {
    DcmItem* series; ///< item of the Referenced Series Sequence (0008,1115)
    DcmItem* image;  ///< item of its Referenced Image Sequence (0008,1140)
  };

  /// Of several image items with one Referenced SOP Instance UID, the first one counts. A null sequence is an empty
  /// one.
  explicit ReferencedImages(DcmSequenceOfItems* referencedSeries) : unindexed(referencedSeries) {}

  /// Returns null when no item refers to the instance.
  const Reference* find(const std::string& sopInstanceUid);

private:
  void addSeries(DcmItem& series);

  DcmSequenceOfItems* unindexed; ///< null once it is indexed
  std::unordered_map<std::string, Reference> references;
};

} // namespace tarn::images
