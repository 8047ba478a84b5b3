#pragma once

#include "conformance/items.h"
#include "picture/placement.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarn::picture
{

/// An image, or a frame of it, that a state is for (PS3.3 C.11.11).
struct Target
{
  std::string uid;
  std::uint32_t frame = 1;
};

/// Why a value that the picture wants was not taken from the state, a sentence each; they stand under the picture.
using Notes = std::vector<std::string>;

/// A presentation state, asked for what it says of one image.
class StateView
{
public:
  /// Throws Refusal where the file is no presentation state that can be read.
  explicit StateView(const std::string& path);

  std::string studyUid();
  /// The image that the state refers to in place `number`, from 1 on; where `imageUid` is not empty, the first that is
  /// this one. The frame is the first that is named, else 1. Throws Refusal.
  Target target(unsigned number, const std::string& imageUid);

  /// How the image is shown. What is missing or makes no sense is as the image is.
  View viewOf(const Target& target, unsigned columns, unsigned rows, Notes& notes);
  /// The item of the Softcopy VOI LUT Sequence that holds for the image; nothing where none does.
  std::optional<conformance::Placed> voiOf(const Target& target);
  /// The items of the Graphic Annotation Sequence that hold for the image.
  std::vector<conformance::Placed> annotationsOf(const Target& target);

  conformance::Placed root() { return contents->root(); }

private:
  std::optional<conformance::Placed> firstFor(const Target& target, const DcmTagKey& sequence);

  DcmFileFormat file;
  std::optional<conformance::StateContents> contents; ///< of `file`, once it is loaded
};

} // namespace tarn::picture
