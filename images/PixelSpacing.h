#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <cstdint>
#include <map>

namespace tarn::images
{

/// How far the centres of adjacent pixels are apart (PS3.3 10.7.1.3).
struct PixelSpacing
{
  /// Where the distance holds.
  enum class Origin
  {
    none,     ///< not known
    ratio,    ///< no distance: row and column are in the ratio of the pixel's sides
    detector, ///< at the detector, or on a film that was scanned: what is measured in the patient is shorter
    patient   ///< in the patient
  };

  double row = 1.0; ///< from one row to the next, mm
  double column = 1.0;
  Origin origin = Origin::none;
};

/// The spacing of an image's frames.
struct PixelSpacings
{
  PixelSpacing common;
  std::map<std::uint32_t, PixelSpacing> others; ///< of the frames that differ, from 1

  const PixelSpacing& of(std::uint32_t frame) const;
};

PixelSpacings readPixelSpacings(DcmItem& dataset);

} // namespace tarn::images
