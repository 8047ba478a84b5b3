// An image's file and what its header announces.
#include "picture/ImageFile.h"

#include "base/text.h"
#include "conformance/items.h"
#include "dicom/loadFile.h"
#include "dicom/values.h"
#include "picture/Codecs.h"
#include "picture/render/encapsulation.h"
#include "picture/Refusal.h"

#include <algorithm>
#include <cmath>

namespace tarn::picture
{
namespace
{

/// Values in one frame, 8192 x 8192 of them: what decoding and shading them takes stays below a gigabyte.
constexpr std::uint64_t kMostValues = std::uint64_t{1} << 26U;

Uint16 numberIn(DcmItem& item, const DcmTagKey& tag)
{
  Uint16 number = 0;
  item.findAndGetUint16(tag, number);
  return number;
}

} // namespace

ImageFile::ImageFile(const std::string& path)
{
  if (const OFCondition loaded = dicom::loadFile(file, path, dicom::LongValues::inFile); loaded.bad())
    throw Refusal("image-unreadable", base::joined(path, ": ", loaded.text()));
  contents.emplace(dataset());
  uid = conformance::textOf(root(), DCM_SOPInstanceUID);
  columnCount = numberIn(dataset(), DCM_Columns);
  rowCount = numberIn(dataset(), DCM_Rows);
  samples = std::max<Uint16>(numberIn(dataset(), DCM_SamplesPerPixel), 1);
  colour = samples > 1 || base::startsWith(conformance::textOf(root(), DCM_PhotometricInterpretation), "PALETTE");
  if (const auto count = conformance::numberOf(root(), DCM_NumberOfFrames);
      count && *count >= 1 && *count < 4294967296.0)
    frameCount = static_cast<std::uint32_t>(*count);
  requirePixels();
}

Point ImageFile::tileOrigin(std::uint32_t frame)
{
  constexpr double kMost = 2147483647;
  const double wide = conformance::numberOf(root(), DCM_TotalPixelMatrixColumns).value_or(0);
  const double high = conformance::numberOf(root(), DCM_TotalPixelMatrixRows).value_or(0);
  if (!conformance::isWhole(wide, 1, kMost) || !conformance::isWhole(high, 1, kMost))
    return {};
  if (conformance::textOf(root(), DCM_DimensionOrganizationType) == "TILED_FULL")
  {
    const auto across = (static_cast<std::uint64_t>(wide) + columnCount - 1) / columnCount;
    const auto down = (static_cast<std::uint64_t>(high) + rowCount - 1) / rowCount;
    const std::uint64_t tile = (frame - 1) % (across * down);
    const std::uint64_t row = tile / across;
    return {static_cast<double>(tile % across * columnCount), static_cast<double>(row * rowCount)};
  }
  const auto groups = conformance::itemsOf(root(), DCM_PerFrameFunctionalGroupsSequence);
  if (frame > groups.size())
    return {};
  const auto places = conformance::itemsOf(groups[frame - 1], DCM_PlanePositionSlideSequence);
  if (places.empty())
    return {};
  return {conformance::numberOf(places.front(), DCM_ColumnPositionInTotalImagePixelMatrix).value_or(1) - 1,
          conformance::numberOf(places.front(), DCM_RowPositionInTotalImagePixelMatrix).value_or(1) - 1};
}

/// The toolkit fills up what is missing of pixels, and allocates what a header announces.
void ImageFile::requirePixels()
{
  DcmElement* pixels = nullptr;
  if (columnCount == 0 || rowCount == 0 || dataset().findAndGetElement(DCM_PixelData, pixels).bad())
    throw Refusal("image-without-pixels", "the image has no pixels");
  const std::uint64_t values = std::uint64_t{columnCount} * rowCount * samples;
  if (values > kMostValues)
    throw Refusal("image-too-large", base::joined("the image announces ", columnCount, " x ", rowCount, " pixels of ",
                                                  samples, " values"));
  const DcmXfer syntax(dataset().getOriginalXfer());
  if (!isDecodable(syntax.getXfer()))
    throw Refusal("compression-unknown", base::joined("there is no decoder for ", syntax.getXferName()));
  const std::uint64_t bits = values * frameCount * numberIn(dataset(), DCM_BitsAllocated);
  if (!isEncapsulated(syntax.getXfer()) && pixels->getLengthField() < (bits + 7) / 8)
    throw Refusal("pixels-missing", base::joined("the image announces ", (bits + 7) / 8, " bytes of pixels and has ",
                                                 pixels->getLengthField()));
}

} // namespace tarn::picture
