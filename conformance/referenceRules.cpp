// The images that a presentation state refers to.
#include "conformance/referenceRules.h"

#include "dicom/uid.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tarn::conformance
{
namespace
{

// SOP classes whose images have frames (PS3.3 table 10-3 asks for Referenced Frame Number there alone).
constexpr std::array<const char*, 20> kMultiFrameClasses{
    UID_MultiframeSingleBitSecondaryCaptureImageStorage,
    UID_MultiframeGrayscaleByteSecondaryCaptureImageStorage,
    UID_MultiframeGrayscaleWordSecondaryCaptureImageStorage,
    UID_MultiframeTrueColorSecondaryCaptureImageStorage,
    UID_UltrasoundMultiframeImageStorage,
    UID_RETIRED_UltrasoundMultiframeImageStorage,
    UID_XRayAngiographicImageStorage,
    UID_XRayRadiofluoroscopicImageStorage,
    UID_EnhancedXAImageStorage,
    UID_EnhancedXRFImageStorage,
    UID_XRay3DAngiographicImageStorage,
    UID_XRay3DCraniofacialImageStorage,
    UID_BreastTomosynthesisImageStorage,
    UID_EnhancedCTImageStorage,
    UID_LegacyConvertedEnhancedCTImageStorage,
    UID_EnhancedMRImageStorage,
    UID_LegacyConvertedEnhancedMRImageStorage,
    UID_NuclearMedicineImageStorage,
    UID_EnhancedPETImageStorage,
    UID_SegmentationStorage,
};

bool isMultiFrame(const std::string& sopClass)
{
  return std::find(kMultiFrameClasses.begin(), kMultiFrameClasses.end(), sopClass) != kMultiFrameClasses.end();
}

} // namespace

void examineReferences(Examination& state)
{
  const std::vector<Placed> series = itemsOf(state.root(), DCM_ReferencedSeriesSequence);
  if (series.empty())
    state.find(state.root(), DCM_ReferencedSeriesSequence, "no series is referred to");
  for (const Placed& one : series)
    if (itemsOf(one, DCM_ReferencedImageSequence).empty())
      state.find(one, DCM_ReferencedImageSequence, "no image of the series is referred to");
}

void examineReferenceUids(Examination& state)
{
  const auto requireUid = [&state](const Placed& where, const DcmTagKey& tag)
  {
    if (const std::string uid = textOf(where, tag); !dicom::isUid(uid))
      state.find(where, tag, uid.empty() ? "the UID is missing" : "'" + uid + "' is no UID");
  };
  for (const Placed& series : itemsOf(state.root(), DCM_ReferencedSeriesSequence))
  {
    requireUid(series, DCM_SeriesInstanceUID);
    for (const Placed& image : itemsOf(series, DCM_ReferencedImageSequence))
      for (const DcmTagKey& tag : {DCM_ReferencedSOPClassUID, DCM_ReferencedSOPInstanceUID})
        requireUid(image, tag);
  }
}

/// Frames of an image of one frame are not numbered; of others the numbers count from 1.
void examineFrameNumbers(Examination& state)
{
  for (const Placed& series : itemsOf(state.root(), DCM_ReferencedSeriesSequence))
    for (const Placed& image : itemsOf(series, DCM_ReferencedImageSequence))
    {
      if (!has(image, DCM_ReferencedFrameNumber))
        continue;
      const auto size = state.sizeOf(textOf(image, DCM_ReferencedSOPInstanceUID));
      const double most = size && size->frames > 0 ? size->frames : HUGE_VAL;
      const auto numbers = numbersOf(image, DCM_ReferencedFrameNumber);
      const bool fits = numbers && std::all_of(numbers->begin(), numbers->end(),
                                               [most](double number) {
                                                 return number >= 1 && number <= most && number == std::floor(number);
                                               });
      const auto drop = [image] { remove(image, DCM_ReferencedFrameNumber); };
      if (!isMultiFrame(textOf(image, DCM_ReferencedSOPClassUID)))
        state.find(image, DCM_ReferencedFrameNumber, "an image of one frame has a frame number", drop);
      else if (!fits)
        state.find(image, DCM_ReferencedFrameNumber, "it numbers no frame of the image", drop);
    }
}

} // namespace tarn::conformance
