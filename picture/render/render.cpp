// A frame as the toolkit renders it.
#include "picture/render/jpeg2000.h"
#include "picture/render/renderModule.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmimage/diregist.h>
#include <dcmtk/dcmimgle/dcmimage.h>
#include <dcmtk/dcmjpeg/dipijpeg.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

namespace tarn::picture
{
namespace
{

constexpr unsigned kQuality = 80;

/// One frame is read, and no overlay: a state shows those that it names alone (PS3.3 C.11.7).
constexpr unsigned long kFlags = CIF_UsePartialAccessToPixelData | CIF_NeverAccessEmbeddedOverlays;
constexpr unsigned long kGreyFlags = kFlags | CIF_UsePresentationState;

/// The constructors with a modality transformation take every image for MONOCHROME2, as a state wants it (PS3.4 N.2),
/// and the samples of a colour for grey values too.
std::unique_ptr<DicomImage> open(const FrameOrder& order, DcmDataset& dataset, unsigned long frame)
{
  if (order.isColour)
    return std::make_unique<DicomImage>(&dataset, EXS_Unknown, kFlags, frame, 1);
  if (order.modality)
    return std::make_unique<DicomImage>(&dataset, EXS_Unknown, order.modality->data, order.modality->descriptor,
                                        nullptr, kGreyFlags, frame, 1);
  return std::make_unique<DicomImage>(&dataset, EXS_Unknown, order.rescale.slope, order.rescale.intercept, kGreyFlags,
                                      frame, 1);
}

void shade(DicomImage& image, const FrameOrder& order)
{
  if (!order.voi || image.setVoiLut(order.voi->data, order.voi->descriptor) == 0)
  {
    image.setVoiLutFunction(order.window && order.window->isSigmoid ? EFV_Sigmoid : EFV_Linear);
    if (!order.window || image.setWindow(order.window->center, order.window->width) == 0)
      image.setMinMaxWindow();
  }
  if (!order.presentation || image.setPresentationLut(order.presentation->data, order.presentation->descriptor) == 0)
    image.setPresentationLutShape(order.isInverse ? ESP_Inverse : ESP_Identity);
}

/// The part that is wanted, in the size that is wanted. The toolkit does not clip where it interpolates, so one comes
/// after the other.
std::unique_ptr<DicomImage> fitted(std::unique_ptr<DicomImage> image, const FrameOrder& order)
{
  if (order.columns != image->getWidth() || order.rows != image->getHeight())
    image.reset(image->createClippedImage(static_cast<signed long>(order.left), static_cast<signed long>(order.top),
                                          order.columns, order.rows));
  constexpr int kInterpolate = 1;
  if (image && (order.width != image->getWidth() || order.height != image->getHeight()))
    image.reset(image->createScaledImage(order.width, order.height, kInterpolate));
  return image;
}

bool writeJpeg(DicomImage& image, std::string& jpeg)
{
  char* buffer = nullptr;
  std::size_t size = 0;
  std::FILE* const stream = open_memstream(&buffer, &size);
  DiJPEGPlugin plugin;
  plugin.setQuality(kQuality);
  const bool isWritten = stream && image.writePluginFormat(&plugin, stream) != 0;
  const bool isClosed = stream && std::fclose(stream) == 0;
  const std::unique_ptr<char, decltype(&std::free)> bytes(buffer, &std::free);
  if (isWritten && isClosed)
    jpeg.assign(bytes.get(), size);
  return isWritten && isClosed;
}

bool render(const FrameOrder& order, DcmDataset& dataset, unsigned long frame, std::string& jpeg)
{
  std::unique_ptr<DicomImage> image = open(order, dataset, frame);
  jpeg = DicomImage::getString(image->getStatus());
  if (image->getStatus() != EIS_Normal)
    return false;
  if (!order.isColour)
    shade(*image, order);
  image = fitted(std::move(image), order);
  jpeg = "they cannot be cut or scaled";
  return image && image->getStatus() == EIS_Normal && writeJpeg(*image, jpeg);
}

} // namespace

bool annomend_render_jpeg(const FrameOrder& order, std::string& jpeg)
{
  if (!isJpeg2000(order.image.getOriginalXfer()))
    return render(order, order.image, order.frame, jpeg);
  const std::unique_ptr<DcmDataset> decoded = decodeJpeg2000(order.image, order.frame, jpeg);
  return decoded && render(order, *decoded, 0, jpeg);
}

} // namespace tarn::picture
