#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <string>
#include <unordered_map>

namespace impsconverter
{

/// Which series and image items of a Referenced Series Sequence (PS3.3 C.11.11) speak of which image: one walk over
/// the sequence, so that thousands of look-ups do not each walk it again. Borrows the items.
class ReferencedImages
{
public:
  struct Reference
  {
    DcmItem* series;
    DcmItem* image;
  };

  /// Of several image items with one Referenced SOP Instance UID the first is kept. Null gives an empty index.
  explicit ReferencedImages(DcmSequenceOfItems* referencedSeries);

  /// Null when no item refers to the instance.
  const Reference* find(const std::string& sopInstanceUid) const;

private:
  void addSeries(DcmItem& series);

  std::unordered_map<std::string, Reference> references;
};

} // namespace impsconverter
