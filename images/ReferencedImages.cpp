#include "images/ReferencedImages.h"

#include "dicom/values.h"

namespace impsconverter
{
namespace
{

template <class Visit>
void forEachItem(DcmSequenceOfItems& sequence, Visit visit)
{
  for (DcmObject* object = nullptr; (object = sequence.nextInContainer(object)) != nullptr;)
    if (auto* item = dynamic_cast<DcmItem*>(object))
      visit(*item);
}

} // namespace

void ReferencedImages::addSeries(DcmItem& series)
{
  DcmSequenceOfItems* images = nullptr;
  if (series.findAndGetSequence(DCM_ReferencedImageSequence, images).bad() || !images)
    return;
  forEachItem(*images,
              [&](DcmItem& image)
              {
                std::string uid;
                if (tarn::dicom::readText(image, DCM_ReferencedSOPInstanceUID, uid).good())
                  references.emplace(uid, Reference{&series, &image});
              });
}

const ReferencedImages::Reference* ReferencedImages::find(const std::string& sopInstanceUid)
{
  if (unread)
    forEachItem(*unread, [this](DcmItem& series) { addSeries(series); });
  unread = nullptr;
  const auto found = references.find(sopInstanceUid);
  return found == references.end() ? nullptr : &found->second;
}

} // namespace impsconverter
