// The images that a presentation state and its items refer to.
#include "conformance/references.h"

#include <algorithm>
#include <unordered_set>

namespace tarn::conformance
{
namespace
{

const std::unordered_set<std::string>& multiFrameClasses()
{
  static const std::unordered_set<std::string> kClasses{
      UID_MultiframeSingleBitSecondaryCaptureImageStorage, UID_MultiframeGrayscaleByteSecondaryCaptureImageStorage,
      UID_MultiframeGrayscaleWordSecondaryCaptureImageStorage, UID_MultiframeTrueColorSecondaryCaptureImageStorage,
      UID_UltrasoundMultiframeImageStorage, UID_RETIRED_UltrasoundMultiframeImageStorage, UID_EnhancedUSVolumeStorage,
      UID_XRayAngiographicImageStorage, UID_XRayRadiofluoroscopicImageStorage,
      UID_RETIRED_XRayAngiographicBiPlaneImageStorage, UID_EnhancedXAImageStorage, UID_EnhancedXRFImageStorage,
      UID_XRay3DAngiographicImageStorage, UID_XRay3DCraniofacialImageStorage, UID_BreastTomosynthesisImageStorage,
      UID_EnhancedCTImageStorage, UID_LegacyConvertedEnhancedCTImageStorage, UID_EnhancedMRImageStorage,
      UID_EnhancedMRColorImageStorage, UID_LegacyConvertedEnhancedMRImageStorage, UID_NuclearMedicineImageStorage,
      UID_RETIRED_NuclearMedicineImageStorage, UID_EnhancedPETImageStorage, UID_LegacyConvertedEnhancedPETImageStorage,
      UID_SegmentationStorage, UID_ParametricMapStorage, UID_RTImageStorage, UID_RTDoseStorage,
      UID_VideoEndoscopicImageStorage, UID_VideoMicroscopicImageStorage, UID_VideoPhotographicImageStorage,
      UID_OphthalmicPhotography8BitImageStorage, UID_OphthalmicPhotography16BitImageStorage,
      UID_OphthalmicTomographyImageStorage, UID_WideFieldOphthalmicPhotographyStereographicProjectionImageStorage,
      UID_WideFieldOphthalmicPhotography3DCoordinatesImageStorage,
      UID_OphthalmicOpticalCoherenceTomographyBscanVolumeAnalysisStorage, UID_VLWholeSlideMicroscopyImageStorage,
      UID_RETIRED_VLMultiframeImageStorage,
      // Those that the toolkit has no name for.
      "1.2.840.10008.5.1.4.1.1.6.3",    // Photoacoustic
      "1.2.840.10008.5.1.4.1.1.13.1.4", // Breast Projection X-Ray, for presentation
      "1.2.840.10008.5.1.4.1.1.13.1.5", // the same, for processing
      "1.2.840.10008.5.1.4.1.1.14.1",   // Intravascular OCT, for presentation
      "1.2.840.10008.5.1.4.1.1.14.2",   // the same, for processing
      "1.2.840.10008.5.1.4.1.1.66.7",   // Label Map Segmentation
      "1.2.840.10008.5.1.4.1.1.77.1.8", // Confocal Microscopy
      "1.2.840.10008.5.1.4.1.1.77.1.9", // Confocal Microscopy, tiled pyramid
  };
  return kClasses;
}

/// Whether two sets of frames, each of which means all where it is empty, have one in common.
bool haveOneInCommon(const std::set<double>& left, const std::set<double>& right)
{
  const std::set<double>& few = left.size() < right.size() ? left : right;
  const std::set<double>& many = left.size() < right.size() ? right : left;
  return few.empty() || std::any_of(few.begin(), few.end(), [&many](double frame) { return many.count(frame) > 0; });
}

} // namespace

bool isMultiFrame(const std::string& sopClass)
{
  return multiFrameClasses().count(sopClass) > 0;
}

std::vector<Reference> referencesOf(const Placed& item)
{
  std::vector<Reference> references;
  for (const Placed& image : itemsOf(item, DCM_ReferencedImageSequence))
  {
    const auto frames = numbersOf(image, DCM_ReferencedFrameNumber).value_or(std::vector<double>());
    references.push_back({image,
                          textOf(image, DCM_ReferencedSOPClassUID),
                          textOf(image, DCM_ReferencedSOPInstanceUID),
                          {frames.begin(), frames.end()}});
  }
  return references;
}

Manifest::Manifest(const Placed& root)
{
  for (const Placed& series : itemsOf(root, DCM_ReferencedSeriesSequence))
    for (Reference& image : referencesOf(series))
    {
      byUid.emplace(image.uid, all.size());
      all.push_back(std::move(image));
    }
}

const Reference* Manifest::find(const std::string& uid) const
{
  const auto found = byUid.find(uid);
  return found == byUid.end() ? nullptr : &all[found->second];
}

bool Claims::add(const std::vector<Reference>& images)
{
  if (everything || (images.empty() && !claimed.empty()))
    return false;
  everything = images.empty();
  for (const Reference& image : images)
    if (const auto before = claimed.find(image.uid);
        before != claimed.end() && haveOneInCommon(before->second, image.frames))
      return false;
  for (const Reference& image : images)
    if (const auto [place, isNew] = claimed.emplace(image.uid, image.frames); !isNew)
      place->second.insert(image.frames.begin(), image.frames.end());
  return true;
}

} // namespace tarn::conformance
