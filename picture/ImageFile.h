#pragma once

#include "picture/Affine.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <cstdint>
#include <string>

namespace tarn::picture
{

/// An image whose pixels stay in its file until one frame of them is read.
class ImageFile
{
public:
  /// Throws Refusal where it is no image, or one too large to be drawn.
  explicit ImageFile(const std::string& path);

  DcmDataset& dataset() { return *file.getDataset(); }
  const std::string& sopInstanceUid() const { return uid; }
  unsigned columns() const { return columnCount; }
  unsigned rows() const { return rowCount; }
  std::uint32_t frames() const { return frameCount; }
  /// Whether its pixels are not grey values (PS3.3 C.7.6.3.1.2).
  bool isColour() const { return colour; }
  /// Where a frame begins in the whole of which it is a tile, in pixels (PS3.3 C.7.6.17.3); 0, 0 where it is none.
  Point tileOrigin(std::uint32_t frame);

private:
  void requirePixels();

  DcmFileFormat file;
  std::string uid;
  Uint16 columnCount = 0;
  Uint16 rowCount = 0;
  Uint16 samples = 1; ///< a pixel
  std::uint32_t frameCount = 1;
  bool colour = false;
};

} // namespace tarn::picture
