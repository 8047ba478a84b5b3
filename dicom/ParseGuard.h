#pragma once

#include "dicom/ReadLimits.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/ofstd/ofcond.h>

#include <chrono>
#include <cstdint>

namespace tarn::dicom
{

/// Follows the toolkit's parser through what it asks of its stream, and tells when a file was made to exhaust the
/// stack, the memory or the processor. The parser calls itself for each nested sequence: the address of its frame tells
/// how much stack the nesting has used.
class ParseGuard
{
public:
  /// `stackBase` is the address of the frame that starts the parser. The parser runs in the thread that calls this.
  ParseGuard(const ReadLimits& limits, std::uintptr_t stackBase);

  /// To be called where the parser marks its place, before each element and item, since it may have to return to it.
  void onMark();
  /// To be called where the parser reads. `frame` is the address of the frame of the stream's operation.
  void onRead(std::uintptr_t frame);

  /// Returns good, or the first reason to go no further.
  const OFCondition& verdict() const { return refusal; }

private:
  void refuse(const OFCondition& reason);

  const std::uint64_t maxElements;
  const std::uintptr_t lowest;         ///< address that the parser's stack may grow down to
  const std::chrono::nanoseconds last; ///< processor time of the thread at which the file has had its share
  std::uint64_t elements = 0;
  OFCondition refusal;
};

} // namespace tarn::dicom
