// Grey values of an image, by the toolkit's own rendering.
#include "picture/pixels.h"

#include "base/text.h"
#include "conformance/lookupTables.h"
#include "dicom/values.h"
#include "picture/Codecs.h"
#include "picture/Refusal.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

namespace tarn::picture
{
namespace
{

using conformance::Placed;
using conformance::Stage;

void copyWords(const Placed& item, const DcmTagKey& tag, DcmUnsignedShort& copied)
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

/// The table that the item has; null where there is none, or none that can be used.
std::unique_ptr<Table> tableIn(const Placed& where, const DcmTagKey& sequence, Stage stage, Notes& notes)
{
  if (!conformance::hasValue(where, sequence))
    return nullptr;
  if (!conformance::faultOfTable(where, sequence, stage).empty())
  {
    notes.emplace_back("A lookup table makes no sense: not used.");
    return nullptr;
  }
  auto table = std::make_unique<Table>();
  const Placed item = conformance::itemsOf(where, sequence).front();
  copyWords(item, DCM_LUTDescriptor, table->descriptor);
  copyWords(item, DCM_LUTData, table->data);
  return table;
}

/// Values that the toolkit can calculate with, whatever an image holds.
std::optional<Rescale> rescaleIn(const Placed& where)
{
  constexpr double kMost = 65536;
  const Rescale rescale{conformance::numberOf(where, DCM_RescaleSlope).value_or(0),
                        conformance::numberOf(where, DCM_RescaleIntercept).value_or(0)};
  const bool isUsable = std::abs(rescale.slope) > 1 / kMost && std::abs(rescale.slope) < kMost &&
                        std::abs(rescale.intercept) < kMost * kMost;
  return isUsable ? std::make_optional(rescale) : std::nullopt;
}

/// The first window. PS3.3 C.11.2.1.3.2: LINEAR_EXACT is LINEAR moved by half a value, and one value wider.
std::optional<Window> windowIn(const Placed& where)
{
  constexpr double kMost = 1e9;
  const auto centers = conformance::numbersOf(where, DCM_WindowCenter);
  const auto widths = conformance::numbersOf(where, DCM_WindowWidth);
  if (!centers || !widths)
    return std::nullopt;
  const std::string function = conformance::textOf(where, DCM_VOILUTFunction);
  Window window{centers->front(), widths->front(), function == "SIGMOID"};
  if (function == "LINEAR_EXACT")
  {
    window.center += 0.5;
    window.width += 1;
  }
  const bool isUsable = std::abs(window.center) <= kMost && window.width >= 1 && window.width <= kMost;
  return isUsable ? std::make_optional(window) : std::nullopt;
}

/// How a state shades an image. Its tables live as long as it does.
class Shading
{
public:
  Shading(ImageFile& image, StateView& state, const Target& target, Notes& notes);

  /// Puts its values, which stay its own, into the order.
  void into(FrameOrder& order) const;

private:
  void chooseRescale(ImageFile& image, const Placed& root, bool hasVoi, Notes& notes);

  std::unique_ptr<Table> modality, voi, presentation;
  Rescale rescale;
  std::optional<Window> window;
  bool isInverse;
};

Shading::Shading(ImageFile& image, StateView& state, const Target& target, Notes& notes)
  : modality(tableIn(state.root(), DCM_ModalityLUTSequence, Stage::modality, notes)),
    presentation(tableIn(state.root(), DCM_PresentationLUTSequence, Stage::presentation, notes)),
    isInverse(conformance::textOf(state.root(), DCM_PresentationLUTShape) == "INVERSE")
{
  const auto item = state.voiOf(target);
  if (item)
  {
    voi = tableIn(*item, DCM_VOILUTSequence, Stage::voi, notes);
    window = windowIn(*item);
  }
  const bool hasVoi = voi || window;
  chooseRescale(image, state.root(), hasVoi, notes);
  if (hasVoi)
    return;
  window = windowIn(image.root());
  notes.push_back(std::string(item ? "The window of the state makes no sense: " : "No window in the state: ") +
                  (window ? "that of the image." : "from the least to the greatest value."));
}

/// The window of the state belongs to the values that the state's own modality transformation gives, without one to the
/// stored values (PS3.4 N.2.1); that of the image belongs to the image's.
void Shading::chooseRescale(ImageFile& image, const Placed& root, bool hasVoi, Notes& notes)
{
  if (modality)
    return;
  const auto own = rescaleIn(image.root());
  if (const auto stated = rescaleIn(root))
    rescale = *stated;
  else if (own && !hasVoi)
    rescale = *own;
  else if (own && (own->slope != 1 || own->intercept != 0))
    notes.emplace_back("The image is rescaled, and the state is not.");
}

void Shading::into(FrameOrder& order) const
{
  order.modality = modality.get();
  order.rescale = rescale;
  order.voi = voi.get();
  order.window = window;
  order.presentation = presentation.get();
  order.isInverse = isInverse;
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

} // namespace

Pixels renderPixels(ImageFile& image, StateView& state, const Target& target, const Rectangle& area, double scaleX,
                    double scaleY, Notes& notes)
{
  const Rectangle part = visiblePart(area, image.columns(), image.rows());
  FrameOrder order(image.dataset());
  order.frame = target.frame - 1;
  order.isColour = image.isColour();
  order.left = static_cast<unsigned long>(part.left);
  order.top = static_cast<unsigned long>(part.top);
  order.columns = static_cast<unsigned long>(part.width());
  order.rows = static_cast<unsigned long>(part.height());
  order.width = scaledSide(part.width(), scaleX);
  order.height = scaledSide(part.height(), scaleY);
  if (image.isColour())
    return {part, renderJpeg(order)};
  const Shading shading(image, state, target, notes);
  shading.into(order);
  return {part, renderJpeg(order)};
}

} // namespace tarn::picture
