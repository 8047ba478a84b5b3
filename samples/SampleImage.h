#pragma once

#include <memory>
#include <string>
#include <vector>

#include "samples/dicomFile.h"

namespace samples
{

/// One image of the sample study, drawn by formula.
struct SampleImage
{
  const char* modality; ///< "CT" or "MR"; also the prefix of the object's name
  int number;           ///< slice, from 1
  Uint16 columns;
  Uint16 rows;

  [[nodiscard]] std::string sopClassUid() const;
  [[nodiscard]] std::string sopInstanceUid() const;
  [[nodiscard]] std::string seriesUid() const;
  /// Prefix, a point, SOP Instance UID: the name of the file and of the object in the archive.
  [[nodiscard]] std::string name() const;
};

/// Slices of a torso (CT) and one sagittal spine (MR), in the order of their series.
const std::vector<SampleImage>& sampleImages();

/// A slice of the CT series that the states refer to and that lies in another archive.
extern const SampleImage kImageElsewhere;

/// The complete image object with its pixel data.
std::unique_ptr<DcmDataset> makeImage(const SampleImage& image);

} // namespace samples
