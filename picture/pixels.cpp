// Grey values of an image, by the toolkit's own rendering.
#include "picture/pixels.h"

#include "base/text.h"
#include "conformance/lookupTables.h"
#include "dicom/values.h"
#include "picture/Refusal.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmimage/diregist.h>
#include <dcmtk/dcmimgle/dcmimage.h>
#include <dcmtk/dcmjpeg/dipijpeg.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

namespace tarn::picture
{
namespace
{

using conformance::Placed;
using conformance::Stage;

constexpr unsigned kQuality = 80;

constexpr unsigned long kFlags = CIF_UsePartialAccessToPixelData | CIF_NeverAccessEmbeddedOverlays;

/// A table of the state as the toolkit takes it. It has to live as long as an image uses it.
class Table
{
public:
  Table(const Placed& where, const DcmTagKey& sequence)
  {
    const Placed item = conformance::itemsOf(where, sequence).front();
    copy(item, DCM_LUTDescriptor, descriptor);
    copy(item, DCM_LUTData, data);
  }

  DcmUnsignedShort descriptor{DcmTag(DCM_LUTDescriptor, EVR_US)};
  DcmUnsignedShort data{DcmTag(DCM_LUTData, EVR_US)};

private:
  static void copy(const Placed& item, const DcmTagKey& tag, DcmUnsignedShort& copied)
  {
    DcmElement* element = nullptr;
    std::string bytes;
    if (item.item.findAndGetElement(tag, element).bad() || dicom::readBytes(*element, bytes).bad())
      throw Refusal("state-unreadable", "a lookup table cannot be read");
    std::vector<Uint16> words(bytes.size() / 2);
    std::memcpy(words.data(), bytes.data(), words.size() * 2);
    swapIfNecessary(gLocalByteOrder, EBO_LittleEndian, words.data(), static_cast<Uint32>(words.size() * 2), 2);
    copied.putUint16Array(words.data(), words.size());
  }
};

/// The table that the item has; null where there is none, or none that can be used.
std::unique_ptr<Table> tableIn(const Placed& where, const DcmTagKey& sequence, Stage stage, Notes& notes)
{
  if (!conformance::hasValue(where, sequence))
    return nullptr;
  if (const std::string fault = conformance::faultOfTable(where, sequence, stage); !fault.empty())
  {
    notes.emplace_back("A lookup table makes no sense: not used.");
    return nullptr;
  }
  return std::make_unique<Table>(where, sequence);
}

struct Rescale
{
  double slope = 1;
  double intercept = 0;
};

/// Values that the toolkit can calculate with, whatever 32 bits hold.
bool isUsable(const Rescale& rescale)
{
  constexpr double kMost = 65536;
  return std::abs(rescale.slope) > 1 / kMost && std::abs(rescale.slope) < kMost &&
         std::abs(rescale.intercept) < kMost * kMost;
}

std::optional<Rescale> rescaleIn(const Placed& where)
{
  const Rescale rescale{conformance::numberOf(where, DCM_RescaleSlope).value_or(0),
                        conformance::numberOf(where, DCM_RescaleIntercept).value_or(0)};
  return isUsable(rescale) ? std::make_optional(rescale) : std::nullopt;
}

struct Window
{
  double center = 0;
  double width = 0;
  EF_VoiLutFunction function = EFV_Linear;
};

/// The first window. PS3.3 C.11.2.1.3.2: LINEAR_EXACT is LINEAR moved by half a value, and one value wider.
std::optional<Window> windowIn(const Placed& where)
{
  constexpr double kMost = 1e9;
  const auto centers = conformance::numbersOf(where, DCM_WindowCenter);
  const auto widths = conformance::numbersOf(where, DCM_WindowWidth);
  if (!centers || !widths)
    return std::nullopt;
  Window window{centers->front(), widths->front()};
  const std::string function = conformance::textOf(where, DCM_VOILUTFunction);
  if (function == "SIGMOID")
    window.function = EFV_Sigmoid;
  if (function == "LINEAR_EXACT")
  {
    window.center += 0.5;
    window.width += 1;
  }
  const bool isUsable = std::abs(window.center) <= kMost && window.width >= 1 && window.width <= kMost;
  return isUsable ? std::make_optional(window) : std::nullopt;
}

/// The toolkit's image of one frame, shaded.
class Shading
{
public:
  Shading(ImageFile& image, StateView& state, const Target& target, Notes& notes);

  DicomImage& image() { return *whole; }

private:
  void openGrey(ImageFile& image, StateView& state, bool hasVoi, Notes& notes);
  void requireGood() const;
  void setVoi(ImageFile& image, const Placed* voi, Notes& notes);
  void setPresentation(const Placed& root, Notes& notes);

  std::unique_ptr<Table> modality, voiTable, presentation;
  std::optional<Window> window;
  unsigned long frame;
  std::unique_ptr<DicomImage> whole;
};

Shading::Shading(ImageFile& image, StateView& state, const Target& target, Notes& notes) : frame(target.frame - 1)
{
  if (image.isColour()) // the constructors with rescale values take the samples of a colour for grey values
  {
    whole = std::make_unique<DicomImage>(&image.dataset(), EXS_Unknown, kFlags, frame, 1);
    requireGood();
    whole->hideAllOverlays();
    return;
  }
  const auto voi = state.voiOf(target);
  if (voi)
  {
    voiTable = tableIn(*voi, DCM_VOILUTSequence, Stage::voi, notes);
    window = windowIn(*voi);
  }
  openGrey(image, state, voiTable || window, notes);
  requireGood();
  whole->hideAllOverlays();
  setVoi(image, voi ? &*voi : nullptr, notes);
  setPresentation(state.root(), notes);
}

/// The window of the state belongs to the values that the state's own modality transformation gives, without one to the
/// stored values (PS3.4 N.2.1); that of the image belongs to the image's.
void Shading::openGrey(ImageFile& image, StateView& state, bool hasVoi, Notes& notes)
{
  const unsigned long flags = kFlags | CIF_UsePresentationState;
  modality = tableIn(state.root(), DCM_ModalityLUTSequence, Stage::modality, notes);
  if (modality)
  {
    whole = std::make_unique<DicomImage>(&image.dataset(), EXS_Unknown, modality->data, modality->descriptor, nullptr,
                                         flags, frame, 1);
    return;
  }
  const auto own = rescaleIn(image.root());
  const auto stated = rescaleIn(state.root());
  const bool isOwn = !stated && !hasVoi;
  const Rescale rescale = stated.value_or(isOwn ? own.value_or(Rescale()) : Rescale());
  if (!stated && !isOwn && own && (own->slope != 1 || own->intercept != 0))
    notes.emplace_back("The image is rescaled, and the state is not.");
  whole =
      std::make_unique<DicomImage>(&image.dataset(), EXS_Unknown, rescale.slope, rescale.intercept, flags, frame, 1);
}

void Shading::requireGood() const
{
  if (whole->getStatus() == EIS_Normal)
    return;
  throw Refusal("pixels-unreadable",
                base::joined("the pixels cannot be read: ", DicomImage::getString(whole->getStatus())));
}

void Shading::setVoi(ImageFile& image, const Placed* voi, Notes& notes)
{
  if (voiTable && whole->setVoiLut(voiTable->data, voiTable->descriptor) != 0)
    return;
  if (!window)
  {
    notes.emplace_back(voi ? "The window of the state makes no sense: another one."
                           : "No window in the state: another one.");
    window = windowIn(image.root());
  }
  if (window)
    whole->setVoiLutFunction(window->function);
  if (!window || whole->setWindow(window->center, window->width) == 0)
    whole->setMinMaxWindow();
}

/// PS3.3 C.11.6
void Shading::setPresentation(const Placed& root, Notes& notes)
{
  presentation = tableIn(root, DCM_PresentationLUTSequence, Stage::presentation, notes);
  if (presentation && whole->setPresentationLut(presentation->data, presentation->descriptor) != 0)
    return;
  const bool isInverse = conformance::textOf(root, DCM_PresentationLUTShape) == "INVERSE";
  whole->setPresentationLutShape(isInverse ? ESP_Inverse : ESP_Identity);
}

/// The whole pixels that lie in the area, or in part.
Rectangle visiblePart(const Rectangle& area, unsigned columns, unsigned rows)
{
  return {std::max(0.0, std::floor(area.left)), std::max(0.0, std::floor(area.top)),
          std::min<double>(columns, std::ceil(area.right)), std::min<double>(rows, std::ceil(area.bottom))};
}

unsigned long scaledSide(double side, double scale)
{
  return static_cast<unsigned long>(std::max(1.0, std::ceil(side * std::min(scale, 1.0))));
}

std::string jpegOf(DicomImage& image)
{
  char* buffer = nullptr;
  std::size_t size = 0;
  std::FILE* const stream = open_memstream(&buffer, &size);
  DiJPEGPlugin plugin;
  plugin.setQuality(kQuality);
  const bool isWritten = stream && image.writePluginFormat(&plugin, stream) != 0;
  const bool isClosed = stream && std::fclose(stream) == 0;
  const std::unique_ptr<char, decltype(&std::free)> bytes(buffer, &std::free);
  if (!isWritten || !isClosed)
    throw Refusal("pixels-unreadable", "the pixels cannot be encoded");
  return {bytes.get(), size};
}

} // namespace

Pixels renderPixels(ImageFile& image, StateView& state, const Target& target, const Rectangle& area, double scaleX,
                    double scaleY, Notes& notes)
{
  Shading shading(image, state, target, notes);
  const Rectangle part = visiblePart(area, image.columns(), image.rows());
  const unsigned long width = scaledSide(part.width(), scaleX);
  const unsigned long height = scaledSide(part.height(), scaleY);
  if (width == image.columns() && height == image.rows())
    return {part, jpegOf(shading.image())};
  const std::unique_ptr<DicomImage> scaled(shading.image().createScaledImage(
      static_cast<signed long>(part.left), static_cast<signed long>(part.top), static_cast<unsigned long>(part.width()),
      static_cast<unsigned long>(part.height()), width, height, 1));
  if (!scaled || scaled->getStatus() != EIS_Normal)
    throw Refusal("pixels-unreadable", "the pixels cannot be scaled");
  return {part, jpegOf(*scaled)};
}

} // namespace tarn::picture
