#pragma once

#include "conformance/Finding.h"
#include "conformance/ImageSizes.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tarn::conformance
{

/// Holds all rules against a presentation state of any maker, which stays as it is. `sizes`, which may be null, knows
/// the images that it refers to. The data dictionary has to be complete (dicom/dictionary.h).
std::vector<Finding> check(DcmDataset& dataset, ImageSizes* sizes);

/// What became of a presentation state that was to obey all rules.
struct Conformed
{
  std::map<std::string, std::uint64_t> remedies; ///< how often each was applied, by code
  std::vector<Finding> left;                     ///< errors that have no remedy: the object is not conformant
};

/// Mends a presentation state until no rule of the level `error` is broken, or none that is has a remedy. What is noted
/// and has a remedy is mended too.
Conformed makeConformant(DcmDataset& dataset, ImageSizes* sizes);

} // namespace tarn::conformance
