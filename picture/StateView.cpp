// What a presentation state says of one image.
#include "picture/StateView.h"

#include "base/text.h"
#include "conformance/references.h"
#include "dicom/loadFile.h"
#include "picture/Refusal.h"

#include <algorithm>
#include <cmath>

namespace tarn::picture
{
namespace
{

using conformance::Placed;

constexpr double kFarthest = 10;  ///< an area may reach this many times the image's side beyond it
constexpr double kFlattest = 100; ///< and a pixel be so many times wider than high, or higher than wide

/// Whether what the item says holds for the target: nothing referred to means every image (PS3.3 C.10.5).
bool holdsFor(const Placed& item, const Target& target)
{
  const auto references = conformance::referencesOf(item);
  return references.empty() ||
         std::any_of(references.begin(), references.end(),
                     [&target](const conformance::Reference& image) {
                       return image.uid == target.uid && (image.frames.empty() || image.frames.count(target.frame) > 0);
                     });
}

Target targetOf(const conformance::Reference& image)
{
  Target target{image.uid, 1};
  if (!conformance::hasValue(image.where, DCM_ReferencedFrameNumber))
    return target;
  const auto frames = conformance::numbersOf(image.where, DCM_ReferencedFrameNumber);
  if (!frames || !conformance::isWhole(frames->front(), 1, 4294967295.0))
    throw Refusal("frame-missing",
                  "the state refers to frame " + conformance::textOf(image.where, DCM_ReferencedFrameNumber));
  target.frame = static_cast<std::uint32_t>(frames->front());
  return target;
}

/// Two corners, the least and the greatest of which bound the area: what an image is turned by changes which is which.
/// PS3.3 C.10.4: both pixels belong to the area, and the first is 1.
std::optional<Rectangle> areaIn(const Placed& item)
{
  const auto first = conformance::numbersOf(item, DCM_DisplayedAreaTopLeftHandCorner);
  const auto last = conformance::numbersOf(item, DCM_DisplayedAreaBottomRightHandCorner);
  if (!first || !last || first->size() != 2 || last->size() != 2)
    return std::nullopt;
  return Rectangle{std::min((*first)[0], (*last)[0]) - 1, std::min((*first)[1], (*last)[1]) - 1,
                   std::max((*first)[0], (*last)[0]), std::max((*first)[1], (*last)[1])};
}

/// Corners 1 and 0, of an area without columns, are one pixel apart.
bool isUsable(double first, double last, double side)
{
  return last - first > std::min(2.0, side - 1) && first < side && last > 0 && first >= -kFarthest * side &&
         last <= (1 + kFarthest) * side;
}

/// Height and width of a pixel: the spacing, else the ratio (PS3.3 C.10.4).
void readPixelShape(const Placed& item, View& view)
{
  for (const DcmTagKey& tag : {DCM_PresentationPixelSpacing, DCM_PresentationPixelAspectRatio})
    if (const auto shape = conformance::numbersOf(item, tag); shape && shape->size() == 2)
    {
      const double ratio = (*shape)[0] / (*shape)[1];
      if ((*shape)[1] > 0 && ratio >= 1 / kFlattest && ratio <= kFlattest)
      {
        view.pixelHeight = ratio;
        return;
      }
    }
}

} // namespace

StateView::StateView(const std::string& path)
{
  if (const OFCondition loaded = dicom::loadFile(file, path); loaded.bad())
    throw Refusal("state-unreadable", base::joined(path, ": ", loaded.text()));
  if (conformance::textOf(root(), DCM_SOPClassUID) != UID_GrayscaleSoftcopyPresentationStateStorage)
    throw Refusal("no-presentation-state", path + " is no Grayscale Softcopy Presentation State");
}

std::string StateView::studyUid()
{
  return conformance::textOf(root(), DCM_StudyInstanceUID);
}

Target StateView::target(unsigned number, const std::string& imageUid)
{
  unsigned place = 0;
  for (const Placed& series : conformance::itemsOf(root(), DCM_ReferencedSeriesSequence))
    for (const conformance::Reference& image : conformance::referencesOf(series))
    {
      ++place;
      const bool isWanted = imageUid.empty() ? place == number : image.uid == imageUid && place >= number;
      if (isWanted)
        return targetOf(image);
    }
  if (!imageUid.empty())
    throw Refusal("image-not-referenced", "the state does not refer to the image " + imageUid);
  throw Refusal("reference-missing", base::joined("the state refers to ", place, " images"));
}

std::optional<Placed> StateView::firstFor(const Target& target, const DcmTagKey& sequence)
{
  for (const Placed& item : conformance::itemsOf(root(), sequence))
    if (holdsFor(item, target))
      return item;
  return std::nullopt;
}

View StateView::viewOf(const Target& target, unsigned columns, unsigned rows, Notes& notes)
{
  View view;
  view.area = {0, 0, static_cast<double>(columns), static_cast<double>(rows)};
  if (const auto item = firstFor(target, DCM_DisplayedAreaSelectionSequence))
  {
    readPixelShape(*item, view);
    const auto area = areaIn(*item);
    if (area && isUsable(area->left, area->right, columns) && isUsable(area->top, area->bottom, rows))
      view.area = *area;
    else
      notes.emplace_back("The displayed area makes no sense: the whole image.");
  }
  else
    notes.emplace_back("No displayed area in the state: the whole image.");
  const double turn = conformance::numberOf(root(), DCM_ImageRotation).value_or(0);
  if (conformance::isWhole(turn / 90, 0, 3))
    view.quarterTurns = static_cast<int>(turn) / 90;
  else
    notes.emplace_back("The rotation makes no sense: not turned.");
  view.flip = conformance::textOf(root(), DCM_ImageHorizontalFlip) == "Y";
  return view;
}

std::optional<Placed> StateView::voiOf(const Target& target)
{
  return firstFor(target, DCM_SoftcopyVOILUTSequence);
}

std::vector<Placed> StateView::annotationsOf(const Target& target)
{
  std::vector<Placed> annotations;
  for (const Placed& item : conformance::itemsOf(root(), DCM_GraphicAnnotationSequence))
    if (holdsFor(item, target))
      annotations.push_back(item);
  return annotations;
}

} // namespace tarn::picture
