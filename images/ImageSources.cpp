// Where a run finds its images: in the object table, and in what the presentation state says of them.
#include "images/ImageSources.h"

#include "dicom/contents.h"
#include "dicom/values.h"

#include <utility>

namespace tarn::images
{

const db::ObjectRecord* ImageSources::findRow(const std::string& name)
{
  auto known = rows.find(name);
  if (known == rows.end())
  {
    db::ObjectRecord record;
    const bool found = db.objects().findObject(studyUid, name, record);
    if (rows.size() == kMostRemembered)
      rows.clear();
    known = rows.emplace(name, found ? std::make_optional(std::move(record)) : std::nullopt).first;
  }
  return known->second ? &*known->second : nullptr;
}

void ImageSources::addSeries(DcmItem& series)
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

const ImageSources::Reference* ImageSources::findReference(const std::string& sopInstanceUid)
{
  if (unindexed)
    for (DcmItem* series : dicom::itemsOf(*unindexed))
      addSeries(*series);
  unindexed = nullptr;
  const auto found = references.find(sopInstanceUid);
  return found == references.end() ? nullptr : &found->second;
}

} // namespace tarn::images
