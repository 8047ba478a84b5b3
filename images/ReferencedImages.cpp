// The images that a presentation state says it refers to.
#include "images/ReferencedImages.h"

#include "dicom/contents.h"
#include "dicom/values.h"

namespace tarn::images
{

void ReferencedImages::addSeries(DcmItem& series)
{
  // PS3.3 C.11.11 and table 10-3: each series names its images by their SOP Instance UIDs.
  DcmSequenceOfItems* images = nullptr;
  if (series.findAndGetSequence(DCM_ReferencedImageSequence, images).bad() || !images)
    return;
  for (DcmItem* image : dicom::itemsOf(*images))
  {
    std::string uid;
    if (dicom::readText(*image, DCM_ReferencedSOPInstanceUID, uid).good())
      references.emplace(uid, Reference{&series, image});
  }
}

const ReferencedImages::Reference* ReferencedImages::find(const std::string& sopInstanceUid)
{
  if (unindexed)
    for (DcmItem* series : dicom::itemsOf(*unindexed))
      addSeries(*series);
  unindexed = nullptr;
  const auto found = references.find(sopInstanceUid);
  return found == references.end() ? nullptr : &found->second;
}

} // namespace tarn::images
