#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <string>
#include <unordered_map>

namespace impsconverter
{

/// Which series and image items of a Referenced Series Sequence (PS3.3 C.11.11) speak of which image: one walk over
/// the sequence at the first look-up, so that thousands do not each walk it. Borrows the sequence and its items.
class ReferencedImages
{
public:
  struct Reference
  {
    DcmItem* series;
    DcmItem* image;
  };

  /// Of several image items with one Referenced SOP Instance UID the first is kept. Null gives an empty index.
  explicit ReferencedImages(DcmSequenceOfItems* referencedSeries) : unread(referencedSeries) {}

  /// Null when no item refers to the instance.
  const Reference* find(const std::string& sopInstanceUid);

private:
  void addSeries(DcmItem& series);

  DcmSequenceOfItems* unread; ///< null once it is indexed
  std::unordered_map<std::string, Reference> references;
};

} // namespace impsconverter
