#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <optional>
#include <string>

namespace tarn::picture
{

/// A lookup table as the toolkit takes it (PS3.3 C.11.1.1.1).
struct Table
{
  DcmUnsignedShort descriptor{DcmTag(DCM_LUTDescriptor, EVR_US)};
  DcmUnsignedShort data{DcmTag(DCM_LUTData, EVR_US)};
};

struct Rescale
{
  double slope = 1;
  double intercept = 0;
};

/// PS3.3 C.11.2.1.2, linear or sigmoid.
struct Window
{
  double center = 0;
  double width = 0;
  bool isSigmoid = false;
};

/// A frame of an image, the part of it that is wanted, and how its grey values become those of a screen. A table comes
/// before the numbers of its stage; they are borrowed, and may be null.
struct FrameOrder
{
  explicit FrameOrder(DcmDataset& image) : image(image) {}

  DcmDataset& image; ///< its pixels may lie in a file still
  unsigned long frame = 0;
  bool isColour = false; ///< nothing of what follows holds but the part

  const Table* modality = nullptr;
  Rescale rescale;
  const Table* voi = nullptr;
  std::optional<Window> window; ///< neither this nor a table: from the least to the greatest value
  const Table* presentation = nullptr;
  bool isInverse = false;

  unsigned long left = 0, top = 0, columns = 0, rows = 0; ///< image pixels
  unsigned long width = 0, height = 0;                    ///< what they become
};

/// The entry points of the module that holds the toolkit's rendering and its decoders, whose many libraries a program
/// loads for pictures alone.
///
/// Renders a frame as a JPEG image and returns true; or false, with the reason in its place. Throws std::bad_alloc.
extern "C" bool annomend_render_jpeg(const FrameOrder& order, std::string& jpeg);

/// Registers the toolkit's decoders in the process, or takes them back.
extern "C" void annomend_use_decoders(bool use);

} // namespace tarn::picture
