// Encapsulated pixels as they lie in an image.
#include "picture/render/fragments.h"

#include "picture/render/encapsulation.h"
#include "picture/render/jpeg2000.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dccodec.h>
#include <dcmtk/dcmdata/dcpixel.h>
#include <dcmtk/dcmdata/dcpixseq.h>
#include <dcmtk/dcmdata/dcpxitem.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <string_view>

namespace tarn::picture
{
namespace
{

/// The item that a frame begins with; the first of all holds offsets. 0 where nothing tells.
unsigned long firstItemOf(DcmPixelSequence& pixels, unsigned long frame, Sint32 frames)
{
  if (frame == static_cast<unsigned long>(frames))
    return pixels.card();
  Uint32 item = 0;
  return DcmCodec::determineStartFragment(static_cast<Uint32>(frame), frames, &pixels, item).good() ? item : 0;
}

/// Whether a marker begins a frame's header (ITU-T T.81 B.1.1.3, T.87 C.1.1).
bool beginsFrame(unsigned marker)
{
  return marker == 0xF7 || (marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC);
}

/// Whether a JPEG or JPEG-LS codestream announces a frame of this size: decoders make room for what it announces.
bool announces(std::string_view jpeg, Uint16 columns, Uint16 rows)
{
  constexpr std::size_t kHeader = 9; // marker, length, bits, rows, columns
  const auto byteAt = [jpeg](std::size_t place)
  { return static_cast<unsigned>(static_cast<unsigned char>(jpeg[place])); };
  const auto wordAt = [&](std::size_t place) { return byteAt(place) << 8U | byteAt(place + 1); };
  for (std::size_t place = 2; place + kHeader <= jpeg.size() && byteAt(place) == 0xFF;)
    if (beginsFrame(byteAt(place + 1)))
      return wordAt(place + 5) == rows && wordAt(place + 7) == columns;
    else
      place += byteAt(place + 1) == 0xFF ? 1 : 2 + wordAt(place + 2);
  return false;
}

/// Whether the segments of a frame, whose places stand in its first 64 bytes, follow each other within it (PS3.5 G.5).
bool hasSegments(std::string_view rle)
{
  constexpr std::size_t kHeader = 64;
  constexpr std::size_t kNumber = 4; // bytes
  const auto numberAt = [rle](std::size_t place)
  {
    std::uint32_t number = 0;
    for (std::size_t i = kNumber; i-- > 0;)
      number = number << 8U | static_cast<unsigned char>(rle[place * kNumber + i]);
    return number;
  };
  if (rle.size() < kHeader || numberAt(0) == 0 || numberAt(0) >= kHeader / kNumber)
    return false;
  std::size_t last = kHeader;
  for (std::size_t segment = 1; segment <= numberAt(0); ++segment)
  {
    if (numberAt(segment) < last || numberAt(segment) > rle.size())
      return false;
    last = numberAt(segment);
  }
  return true;
}

} // namespace

std::string codestreamOf(DcmDataset& image, unsigned long frame, unsigned long most)
{
  DcmElement* element = nullptr;
  DcmPixelSequence* pixels = nullptr;
  Sint32 frames = 1;
  image.findAndGetSint32(DCM_NumberOfFrames, frames);
  frames = std::max(frames, 1);
  image.findAndGetElement(DCM_PixelData, element);
  auto* const data = dynamic_cast<DcmPixelData*>(element);
  if (!data || data->getEncapsulatedRepresentation(image.getOriginalXfer(), nullptr, pixels).bad() || !pixels)
    return "";
  const unsigned long start = std::max(firstItemOf(*pixels, frame, frames), 1UL);
  const unsigned long end = firstItemOf(*pixels, frame + 1, frames);
  std::string bytes;
  for (unsigned long i = start; i < end && end - start <= most; ++i)
  {
    DcmPixelItem* item = nullptr;
    Uint8* fragment = nullptr;
    if (pixels->getItem(item, i).bad() || item->getUint8Array(fragment).bad() || !fragment)
      return "";
    bytes.append(reinterpret_cast<const char*>(fragment), item->getLength());
  }
  return bytes;
}

bool isSound(DcmDataset& image, unsigned long frame)
{
  const DcmXfer syntax(image.getOriginalXfer());
  if (!isEncapsulated(syntax.getXfer()) || isJpeg2000(syntax.getXfer()))
    return true;
  if (syntax.getXfer() == EXS_RLELossless) // PS3.5 A.4.2: one fragment a frame
    return hasSegments(codestreamOf(image, frame, 1));
  Uint16 columns = 0;
  Uint16 rows = 0;
  image.findAndGetUint16(DCM_Columns, columns);
  image.findAndGetUint16(DCM_Rows, rows);
  return announces(codestreamOf(image, frame, ULONG_MAX), columns, rows);
}

} // namespace tarn::picture
