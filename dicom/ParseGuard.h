#pragma once

#include "dicom/ReadLimits.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarn::dicom
{

/// Follows the toolkit's parser through what it asks of its stream, and says when a file was made to exhaust the stack,
/// the memory or the patience. The parser calls itself for each nested sequence: the address of its frame tells how
/// much stack the nesting has used, and which elements belong to one item.
class ParseGuard
{
public:
  /// `stackBase` is the address of the frame that starts the parser. The data set that is being read tells the byte
  /// order; it is borrowed.
  ParseGuard(const ReadLimits& limits, const DcmDataset& dataset, std::uintptr_t stackBase);

  /// The parser marks its place before each element and item, since it may have to return to it. `frame` is the address
  /// of the frame of the stream's operation.
  void onMark(std::uintptr_t frame);
  /// What the parser was given. The first two reads of two bytes after a mark are a tag.
  void onRead(std::uintptr_t frame, const void* bytes, offile_off_t length);

  /// Good, or the first reason to go no further.
  const OFCondition& verdict() const { return refusal; }

private:
  /// An item (or the data set) that the parser is in.
  struct Level
  {
    std::uintptr_t frame;
    Uint32 greatestTag;
    std::uint64_t elements;
  };

  void onTag();
  void refuse(const OFCondition& reason);

  const std::uint64_t maxElements;
  const DcmDataset& dataset;
  const std::uintptr_t lowest; ///< address that the parser's stack may grow down to
  std::uint64_t elements = 0;
  std::uint64_t reordering = 0; ///< elements stepped over so far to put others into their place
  std::vector<Level> levels;    ///< innermost last
  std::uintptr_t markFrame = 0;
  std::array<Uint16, 2> tag{};       ///< group and element as they stand in the file
  std::size_t tagWords = tag.size(); ///< how much of the tag has been read
  OFCondition refusal;
};

} // namespace tarn::dicom
