// The images of the sample study, drawn by formula: slices of a torso and a spine.
#include "samples/SampleImage.h"

#include <cmath>
#include <cstring>

#include "samples/study.h"

namespace samples
{
namespace
{

/// A filled ellipse in image pixels; later ones cover earlier ones. One that `grows` is smaller in the slices beside
/// the middle one.
struct Ellipse
{
  double x, y, halfWidth, halfHeight, degrees;
  int value;
  bool grows;
};

constexpr int kMiddleSlice = 3;

// Hounsfield units of a torso, 256 x 256 pixels of 1.25 mm.
const Ellipse kTorso[] = {
    {128, 128, 110, 85, 0, 40, false},  // body
    {80, 118, 28, 42, 0, -800, true},   // lungs
    {176, 118, 28, 42, 0, -800, true},  //
    {136, 120, 24, 32, 30, 60, true},   // heart
    {128, 176, 15, 15, 0, 600, false},  // vertebra
    {128, 188, 5, 5, 0, 20, false},     // canal
    {176, 100, 6, 6, 0, 45, true},      // nodule
    {40, 150, 6, 4, 60, 900, false},    // ribs
    {216, 150, 6, 4, -60, 900, false},  //
    {128, 226, 100, 5, 0, -200, false}, // table
};

// Signal of a spine seen from the side, 128 x 192 pixels of 1.5 mm by 1 mm.
const Ellipse kSpine[] = {
    {64, 96, 58, 94, 0, 300, false}, // trunk
    {84, 96, 7, 90, 0, 700, false},  // canal
    {60, 24, 14, 10, 5, 500, false}, // vertebrae
    {57, 52, 14, 10, 3, 500, false}, //
    {55, 80, 14, 10, 0, 500, false}, //
    {55, 108, 14, 10, 0, 500, false}, {58, 136, 14, 10, -4, 500, false}, {62, 164, 14, 10, -8, 500, false},
};

double radians(double degrees)
{
  return degrees * 3.141592653589793 / 180.0;
}

/// Fills the pixels that `ellipse` covers; row and column of the first pixel are 1.
void fill(std::vector<Uint16>& pixels, const SampleImage& image, const Ellipse& ellipse)
{
  const double scale = ellipse.grows ? 1.0 - 0.15 * std::abs(image.number - kMiddleSlice) : 1.0;
  const double cosine = std::cos(radians(ellipse.degrees));
  const double sine = std::sin(radians(ellipse.degrees));
  auto pixel = pixels.begin();
  for (int row = 1; row <= image.rows; ++row)
    for (int column = 1; column <= image.columns; ++column, ++pixel)
    {
      const double dx = column - ellipse.x;
      const double dy = row - ellipse.y;
      const double u = (dx * cosine + dy * sine) / (ellipse.halfWidth * scale);
      const double v = (dy * cosine - dx * sine) / (ellipse.halfHeight * scale);
      if (u * u + v * v <= 1.0)
        *pixel = static_cast<Uint16>(ellipse.value);
    }
}

template <size_t Count>
std::vector<Uint16> draw(const SampleImage& image, const Ellipse (&ellipses)[Count], int background)
{
  std::vector<Uint16> pixels(size_t{image.rows} * image.columns, static_cast<Uint16>(background));
  for (const Ellipse& ellipse : ellipses)
    fill(pixels, image, ellipse);
  return pixels;
}

/// Image Pixel (PS3.3 C.7.6.3), 16 bits allocated.
void putPixels(DcmItem& dataset, const SampleImage& image, const std::vector<Uint16>& pixels, bool isSigned)
{
  const std::pair<DcmTagKey, Uint16> numbers[] = {{DCM_SamplesPerPixel, 1},
                                                  {DCM_Rows, image.rows},
                                                  {DCM_Columns, image.columns},
                                                  {DCM_BitsAllocated, 16},
                                                  {DCM_BitsStored, 16},
                                                  {DCM_HighBit, 15},
                                                  {DCM_PixelRepresentation, isSigned ? 1 : 0}};
  for (const auto& [tag, value] : numbers)
    require(dataset.putAndInsertUint16(tag, value), DcmTag(tag).getTagName());
  require(dataset.putAndInsertUint16Array(DCM_PixelData, pixels.data(), pixels.size()), "Pixel Data");
}

/// General Series, General Image, Image Plane, VOI LUT and SOP Common (PS3.3 C.7.3.1, C.7.6.1, C.7.6.2, C.11.2,
/// C.12.1).
void putImageModules(DcmItem& dataset, const SampleImage& image)
{
  const std::string number = std::to_string(image.number);
  putCommonModules(dataset);
  putTexts(dataset, {{DCM_SOPClassUID, image.sopClassUid()},
                     {DCM_SOPInstanceUID, image.sopInstanceUid()},
                     {DCM_Modality, image.modality},
                     {DCM_SeriesInstanceUID, image.seriesUid()},
                     {DCM_SeriesDate, "20200102"},
                     {DCM_SeriesTime, "101500"},
                     {DCM_PatientPosition, "HFS"},
                     {DCM_FrameOfReferenceUID, kFrameOfReferenceUid},
                     {DCM_PositionReferenceIndicator, ""},
                     {DCM_ManufacturerModelName, "Phantom by formula"},
                     {DCM_InstanceNumber, number},
                     {DCM_ContentDate, "20200102"},
                     {DCM_ContentTime, "10160" + number},
                     {DCM_AcquisitionNumber, "1"},
                     {DCM_PhotometricInterpretation, "MONOCHROME2"}});
}

void putTorso(DcmItem& dataset, const SampleImage& image)
{
  putTexts(dataset, {{DCM_ImageType, "ORIGINAL\\PRIMARY\\AXIAL"},
                     {DCM_SeriesNumber, "1"},
                     {DCM_SeriesDescription, "Torso phantom"},
                     {DCM_BodyPartExamined, "CHEST"},
                     {DCM_PixelSpacing, "1.25\\1.25"},
                     {DCM_ImageOrientationPatient, "1\\0\\0\\0\\1\\0"},
                     {DCM_ImagePositionPatient, "-159.375\\-159.375\\" + std::to_string(5 * image.number)},
                     {DCM_SliceThickness, "5"},
                     {DCM_KVP, "120"},
                     {DCM_RescaleIntercept, "0"},
                     {DCM_RescaleSlope, "1"},
                     {DCM_RescaleType, "HU"},
                     {DCM_WindowCenter, "40"},
                     {DCM_WindowWidth, "400"}});
  putPixels(dataset, image, draw(image, kTorso, -1000), true);
}

void putSpine(DcmItem& dataset, const SampleImage& image)
{
  putTexts(dataset, {{DCM_ImageType, "ORIGINAL\\PRIMARY\\OTHER"},
                     {DCM_SeriesNumber, "2"},
                     {DCM_SeriesDescription, "Spine phantom"},
                     {DCM_BodyPartExamined, "TSPINE"},
                     {DCM_PixelSpacing, "1.5\\1"},
                     {DCM_ImageOrientationPatient, "0\\1\\0\\0\\0\\-1"},
                     {DCM_ImagePositionPatient, "0\\-63.5\\143.25"},
                     {DCM_SliceThickness, "4"},
                     {DCM_ScanningSequence, "SE"},
                     {DCM_SequenceVariant, "NONE"},
                     {DCM_ScanOptions, ""},
                     {DCM_MRAcquisitionType, "2D"},
                     {DCM_RepetitionTime, "500"},
                     {DCM_EchoTime, "15"},
                     {DCM_EchoTrainLength, "1"},
                     {DCM_WindowCenter, "350"},
                     {DCM_WindowWidth, "700"}});
  putPixels(dataset, image, draw(image, kSpine, 0), false);
}

bool isTorso(const SampleImage& image)
{
  return std::strcmp(image.modality, "CT") == 0;
}

} // namespace

const SampleImage kImageElsewhere = {"CT", 6, 256, 256};

const std::vector<SampleImage>& sampleImages()
{
  static const std::vector<SampleImage> images = {{"CT", 1, 256, 256}, {"CT", 2, 256, 256}, {"CT", 3, 256, 256},
                                                  {"CT", 4, 256, 256}, {"CT", 5, 256, 256}, {"MR", 1, 128, 192}};
  return images;
}

std::string SampleImage::sopClassUid() const
{
  return isTorso(*this) ? UID_CTImageStorage : UID_MRImageStorage;
}

std::string SampleImage::seriesUid() const
{
  return std::string(kStudyUid) + (isTorso(*this) ? ".1" : ".2");
}

std::string SampleImage::sopInstanceUid() const
{
  return seriesUid() + "." + std::to_string(number);
}

std::string SampleImage::name() const
{
  return std::string(modality) + "." + sopInstanceUid();
}

std::unique_ptr<DcmDataset> makeImage(const SampleImage& image)
{
  auto dataset = std::make_unique<DcmDataset>();
  putImageModules(*dataset, image);
  if (isTorso(image))
    putTorso(*dataset, image);
  else
    putSpine(*dataset, image);
  return dataset;
}

} // namespace samples
