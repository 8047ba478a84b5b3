// Displayed areas and the transformation of the image.
#include "conformance/areaRules.h"

#include "conformance/references.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tarn::conformance
{
namespace
{

constexpr char kFit[] = "SCALE TO FIT", kTrueSize[] = "TRUE SIZE", kMagnify[] = "MAGNIFY";

const std::vector<Placed>& areasOf(Examination& state)
{
  return itemsOf(state.root(), DCM_DisplayedAreaSelectionSequence);
}

/// Whether the element holds `count` numbers above 0.
bool isPositive(const Placed& area, const DcmTagKey& tag, std::size_t count)
{
  const auto& numbers = numbersOf(area, tag);
  return numbers && numbers->size() == count &&
         std::all_of(numbers->begin(), numbers->end(), [](double n) { return std::isfinite(n) && n > 0; });
}

const std::string& modeOf(const Placed& area)
{
  return textOf(area, DCM_PresentationSizeMode);
}

} // namespace

void examineTransformationPair(Examination& state)
{
  const Placed root = state.root();
  const bool isTurned = hasValue(root, DCM_ImageRotation), isFlipped = hasValue(root, DCM_ImageHorizontalFlip);
  if (!has(root, DCM_ImageRotation) && !has(root, DCM_ImageHorizontalFlip))
    return;
  if (!isTurned)
    state.find(root, DCM_ImageRotation, "there is a flip without a rotation",
               puttingText(root, DCM_ImageRotation, EVR_US, "0"));
  if (!isFlipped)
    state.find(root, DCM_ImageHorizontalFlip, "there is a rotation without a flip",
               puttingText(root, DCM_ImageHorizontalFlip, EVR_CS, "N"));
}

void examineTransformation(Examination& state)
{
  constexpr std::array<double, 4> kRotations{0, 90, 180, 270};
  const Placed root = state.root();
  if (const auto rotation = numberOf(root, DCM_ImageRotation);
      hasValue(root, DCM_ImageRotation) &&
      (!rotation || std::find(kRotations.begin(), kRotations.end(), *rotation) == kRotations.end()))
    state.find(root, DCM_ImageRotation, "the rotation is none of 0, 90, 180 and 270");
  if (const std::string& flip = textOf(root, DCM_ImageHorizontalFlip);
      hasValue(root, DCM_ImageHorizontalFlip) && flip != "Y" && flip != "N")
    state.find(root, DCM_ImageHorizontalFlip, "'" + flip + "' is neither Y nor N");
}

/// Of several areas for one image the last stays: a converted state has its own there, after those of the input.
void examineAreasTwice(Examination& state)
{
  Claims claims;
  std::vector<Placed> areas = areasOf(state), again;
  for (auto area = areas.rbegin(); area != areas.rend(); ++area)
    if (!claims.add(referencesOf(*area)))
      again.push_back(*area);
  if (again.empty())
    return;
  const Placed& first = again.back();
  const char* const text = "another area holds for the same image";
  if (state.manifest().only())
    state.find(first, text,
               [root = state.root(), again] { removeItems(root, DCM_DisplayedAreaSelectionSequence, again); });
  else
    state.find(first, text);
}

void examineAreaCoverage(Examination& state)
{
  Claims claims;
  const std::vector<Placed>& areas = areasOf(state);
  for (const Placed& area : areas)
    claims.add(referencesOf(area));
  const Manifest& manifest = state.manifest();
  for (const Reference& image : manifest.images())
    if (!areas.empty() && !claims.covers(image.uid))
      state.find(image.where, "no area holds for the image");
}

void examineSizeMode(Examination& state)
{
  for (const Placed& area : areasOf(state))
    if (const std::string& mode = modeOf(area); mode != kFit && mode != kTrueSize && mode != kMagnify)
      state.find(area, DCM_PresentationSizeMode, "'" + mode + "' is no size mode",
                 puttingText(area, DCM_PresentationSizeMode, EVR_CS, kFit));
}

void examinePixelSpacing(Examination& state)
{
  for (const Placed& area : areasOf(state))
    if (has(area, DCM_PresentationPixelSpacing) && !isPositive(area, DCM_PresentationPixelSpacing, 2))
      state.find(area, DCM_PresentationPixelSpacing, "it is not two lengths above 0",
                 removing(area, DCM_PresentationPixelSpacing));
}

void examineAspectRatioNeedless(Examination& state)
{
  for (const Placed& area : areasOf(state))
    if (has(area, DCM_PresentationPixelSpacing) && has(area, DCM_PresentationPixelAspectRatio))
      state.find(area, DCM_PresentationPixelAspectRatio, "there is a spacing",
                 removing(area, DCM_PresentationPixelAspectRatio));
}

void examineAspectRatio(Examination& state)
{
  for (const Placed& area : areasOf(state))
    if (!has(area, DCM_PresentationPixelSpacing) && !isPositive(area, DCM_PresentationPixelAspectRatio, 2))
      state.find(area, DCM_PresentationPixelAspectRatio, "there is neither a spacing nor a ratio above 0",
                 puttingText(area, DCM_PresentationPixelAspectRatio, EVR_IS, "1\\1"));
}

void examineMagnification(Examination& state)
{
  for (const Placed& area : areasOf(state))
    if (modeOf(area) == kMagnify && !isPositive(area, DCM_PresentationPixelMagnificationRatio, 1))
      state.find(area, DCM_PresentationPixelMagnificationRatio, "MAGNIFY has no ratio above 0",
                 puttingText(area, DCM_PresentationSizeMode, EVR_CS, kFit));
}

void examineMagnificationNeedless(Examination& state)
{
  for (const Placed& area : areasOf(state))
    if (modeOf(area) != kMagnify && has(area, DCM_PresentationPixelMagnificationRatio))
      state.find(area, DCM_PresentationPixelMagnificationRatio, "the size mode is not MAGNIFY",
                 removing(area, DCM_PresentationPixelMagnificationRatio));
}

void examineTrueSize(Examination& state)
{
  for (const Placed& area : areasOf(state))
    if (modeOf(area) == kTrueSize && !has(area, DCM_PresentationPixelSpacing))
      state.find(area, DCM_PresentationPixelSpacing, "TRUE SIZE has no spacing",
                 puttingText(area, DCM_PresentationSizeMode, EVR_CS, kFit));
}

void examinePixelOrigin(Examination& state)
{
  const Manifest& manifest = state.manifest();
  const bool isSlide =
      std::any_of(manifest.images().begin(), manifest.images().end(),
                  [](const Reference& image) { return image.sopClass == UID_VLWholeSlideMicroscopyImageStorage; });
  for (const Placed& area : areasOf(state))
    if (const std::string& origin = textOf(area, DCM_PixelOriginInterpretation);
        (isSlide || has(area, DCM_PixelOriginInterpretation)) && origin != "FRAME" && origin != "VOLUME")
      state.find(area, DCM_PixelOriginInterpretation, "'" + origin + "' is neither FRAME nor VOLUME",
                 puttingText(area, DCM_PixelOriginInterpretation, EVR_CS, "FRAME"));
}

} // namespace tarn::conformance
