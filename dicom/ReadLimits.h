#pragma once

#include <cstdint>

namespace tarn::dicom
{

/// What reading one file may cost. A presentation state stays far below these limits; a file that is over one was made
/// to do harm.
struct ReadLimits
{
  std::uint64_t fileBytes;     ///< size of the file
  std::uint64_t inflatedBytes; ///< size of a deflated data set (PS3.5 A.5) after inflation
  std::uint64_t elements;      ///< elements and items at all levels together

  /// Returns 512 MiB, 512 MiB and a million, or what TARN_MAX_FILE_BYTES, TARN_MAX_INFLATED_BYTES and TARN_MAX_ELEMENTS
  /// say. Throws std::runtime_error for a value that is no whole number above 0.
  static ReadLimits fromEnvironment();
};

} // namespace tarn::dicom
