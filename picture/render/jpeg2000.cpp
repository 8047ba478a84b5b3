// JPEG 2000, by OpenJPEG.
#include "picture/render/jpeg2000.h"

#include "base/Closer.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dccodec.h>
#include <dcmtk/dcmdata/dcpixel.h>
#include <dcmtk/dcmdata/dcpixseq.h>
#include <dcmtk/dcmdata/dcpxitem.h>

#include <openjpeg.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace tarn::picture
{
namespace
{

using Codec = std::unique_ptr<opj_codec_t, base::Closer<opj_destroy_codec>>;
using Stream = std::unique_ptr<opj_stream_t, base::Closer<opj_stream_destroy>>;
using ImageHandle = std::unique_ptr<opj_image_t, base::Closer<opj_image_destroy>>;

/// A codestream in memory, and where it is read.
struct Reader
{
  std::string_view bytes;
  std::size_t place = 0;

  std::size_t left() const { return bytes.size() - place; }

  static OPJ_SIZE_T read(void* to, OPJ_SIZE_T length, void* self)
  {
    auto& reader = *static_cast<Reader*>(self);
    if (reader.left() == 0)
      return static_cast<OPJ_SIZE_T>(-1);
    const std::size_t got = reader.bytes.copy(static_cast<char*>(to), length, reader.place);
    reader.place += got;
    return got;
  }
  static OPJ_OFF_T skip(OPJ_OFF_T length, void* self)
  {
    auto& reader = *static_cast<Reader*>(self);
    if (length < 0 || static_cast<std::size_t>(length) > reader.left())
      return -1;
    reader.place += static_cast<std::size_t>(length);
    return length;
  }
  static OPJ_BOOL seek(OPJ_OFF_T place, void* self)
  {
    auto& reader = *static_cast<Reader*>(self);
    if (place < 0 || static_cast<std::size_t>(place) > reader.bytes.size())
      return OPJ_FALSE;
    reader.place = static_cast<std::size_t>(place);
    return OPJ_TRUE;
  }
};

/// What the image's header announces of a frame (PS3.3 C.7.6.3).
struct Shape
{
  explicit Shape(DcmItem& image)
    : columns(number(image, DCM_Columns)), rows(number(image, DCM_Rows)),
      samples(std::max<Uint16>(number(image, DCM_SamplesPerPixel), 1)),
      bytes(number(image, DCM_BitsAllocated) > 8 ? 2 : 1)
  {
  }

  /// The codestream's own header is believed in nothing: it may announce more memory than there is.
  bool is(const opj_image_t& announced) const
  {
    const auto fits = [this](const opj_image_comp_t& component)
    {
      return component.w == columns && component.h == rows && component.dx == 1 && component.dy == 1 &&
             component.prec <= 8 * bytes;
    };
    return announced.numcomps == samples && announced.x1 - announced.x0 == columns &&
           announced.y1 - announced.y0 == rows && std::all_of(announced.comps, announced.comps + samples, fits);
  }

  static Uint16 number(DcmItem& image, const DcmTagKey& tag)
  {
    Uint16 value = 0;
    image.findAndGetUint16(tag, value);
    return value;
  }

  OPJ_UINT32 columns, rows, samples;
  unsigned bytes; ///< a sample
};

/// The fragments of a frame in one piece; empty where it cannot be told which they are.
std::string codestreamOf(DcmPixelSequence& pixels, unsigned long frame, Sint32 frames)
{
  const auto firstOf = [&](unsigned long number)
  {
    Uint32 item = 0; // the first holds offsets
    const bool isLast = number == static_cast<unsigned long>(frames);
    if (isLast)
      return static_cast<unsigned long>(pixels.card());
    return DcmCodec::determineStartFragment(static_cast<Uint32>(number), frames, &pixels, item).good() ? item : 0UL;
  };
  const unsigned long end = firstOf(frame + 1);
  std::string bytes;
  for (unsigned long i = std::max(firstOf(frame), 1UL); i < end; ++i)
  {
    DcmPixelItem* item = nullptr;
    Uint8* data = nullptr;
    if (pixels.getItem(item, i).bad() || item->getUint8Array(data).bad() || !data)
      return "";
    bytes.append(reinterpret_cast<const char*>(data), item->getLength());
  }
  return bytes;
}

bool hasData(const opj_image_t& image)
{
  return std::all_of(image.comps, image.comps + image.numcomps,
                     [](const opj_image_comp_t& component) { return component.data != nullptr; });
}

/// Null where the codestream is damaged, or not of the shape.
ImageHandle decoded(std::string_view bytes, const Shape& shape)
{
  constexpr std::string_view kCodestream("\xFF\x4F\xFF\x51", 4); // PS3.5 A.4.4 wants no file format around it
  Reader reader{bytes};
  const bool isBare = bytes.substr(0, kCodestream.size()) == kCodestream;
  const Codec codec(opj_create_decompress(isBare ? OPJ_CODEC_J2K : OPJ_CODEC_JP2));
  const Stream stream(opj_stream_default_create(OPJ_TRUE));
  if (!codec || !stream)
    return nullptr;
  opj_stream_set_user_data(stream.get(), &reader, nullptr);
  opj_stream_set_user_data_length(stream.get(), bytes.size());
  opj_stream_set_read_function(stream.get(), Reader::read);
  opj_stream_set_skip_function(stream.get(), Reader::skip);
  opj_stream_set_seek_function(stream.get(), Reader::seek);
  opj_dparameters_t parameters;
  opj_set_default_decoder_parameters(&parameters);
  opj_image_t* announced = nullptr;
  const bool hasHeader =
      opj_setup_decoder(codec.get(), &parameters) && opj_read_header(stream.get(), codec.get(), &announced);
  ImageHandle image(announced);
  const bool isDecoded = hasHeader && shape.is(*image) && opj_decode(codec.get(), stream.get(), image.get()) &&
                         opj_end_decompress(codec.get(), stream.get()) && shape.is(*image) && hasData(*image);
  return isDecoded ? std::move(image) : nullptr;
}

/// The samples of all components, as the image's header wants them ordered.
template <class Sample>
std::vector<Sample> samplesOf(const opj_image_t& image, bool isByPlane)
{
  const std::size_t pixels = std::size_t{image.comps[0].w} * image.comps[0].h;
  std::vector<Sample> samples(pixels * image.numcomps);
  for (OPJ_UINT32 component = 0; component < image.numcomps; ++component)
    for (std::size_t pixel = 0; pixel < pixels; ++pixel)
      samples[isByPlane ? component * pixels + pixel : pixel * image.numcomps + component] =
          static_cast<Sample>(image.comps[component].data[pixel]);
  return samples;
}

/// What the image's header says of its pixels, around pixels that are not encoded.
std::unique_ptr<DcmDataset> withPixels(DcmDataset& image, const opj_image_t& pixels, const Shape& shape)
{
  auto copy = std::make_unique<DcmDataset>();
  for (DcmObject* element = image.nextInContainer(nullptr); element; element = image.nextInContainer(element))
    if (element->getTag().getGroup() == DCM_Rows.getGroup())
      copy->insert(static_cast<DcmElement*>(element->clone()), OFTrue); // NOLINT(*-static-cast-downcast)
  copy->findAndDeleteElement(DCM_NumberOfFrames);
  if (shape.samples == 3) // the transform of the colours is undone with the others
    copy->putAndInsertString(DcmTag(DCM_PhotometricInterpretation, EVR_CS), "RGB");
  const bool isByPlane = Shape::number(image, DCM_PlanarConfiguration) == 1;
  auto decoded = std::make_unique<DcmPixelData>(DcmTag(DCM_PixelData, shape.bytes == 1 ? EVR_OB : EVR_OW));
  OFCondition put;
  if (shape.bytes == 1)
  {
    const auto samples = samplesOf<Uint8>(pixels, isByPlane);
    put = decoded->putUint8Array(samples.data(), samples.size());
  }
  else
  {
    const auto samples = samplesOf<Uint16>(pixels, isByPlane);
    put = decoded->putUint16Array(samples.data(), samples.size());
  }
  if (put.bad() || copy->insert(decoded.get()).bad())
    return nullptr;
  static_cast<void>(decoded.release()); // the dataset's
  return copy;
}

} // namespace

bool isJpeg2000(E_TransferSyntax syntax)
{
  return syntax == EXS_JPEG2000LosslessOnly || syntax == EXS_JPEG2000;
}

std::unique_ptr<DcmDataset> decodeJpeg2000(DcmDataset& image, unsigned long frame, std::string& reason)
{
  reason = "the JPEG 2000 data are damaged";
  DcmElement* element = nullptr;
  DcmPixelSequence* pixels = nullptr;
  Sint32 frames = 1;
  image.findAndGetSint32(DCM_NumberOfFrames, frames);
  image.findAndGetElement(DCM_PixelData, element);
  auto* const data = dynamic_cast<DcmPixelData*>(element);
  if (!data || data->getEncapsulatedRepresentation(image.getOriginalXfer(), nullptr, pixels).bad() || !pixels)
    return nullptr;
  const Shape shape(image);
  const ImageHandle whole = decoded(codestreamOf(*pixels, frame, std::max(frames, 1)), shape);
  return whole ? withPixels(image, *whole, shape) : nullptr;
}

} // namespace tarn::picture
