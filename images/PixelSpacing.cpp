// The size of an image's pixels, wherever its header says it.
#include "images/PixelSpacing.h"

#include "base/text.h"
#include "dicom/contents.h"
#include "dicom/values.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>

namespace tarn::images
{
namespace
{

using Origin = PixelSpacing::Origin;

/// A decimal string (PS3.5 6.2) above 0; else 0.
double positive(std::string_view text)
{
  const std::string number = base::trimmed(text);
  const char* const first = number.data() + (base::startsWith(number, "+") ? 1 : 0);
  const char* const last = number.data() + number.size();
  double value = 0.0;
  const auto [end, failure] = std::from_chars(first, last, value);
  return failure == std::errc() && end == last && std::isfinite(value) ? std::max(value, 0.0) : 0.0;
}

/// The two values of an element, which are of the row and of the column.
std::optional<PixelSpacing> pairIn(DcmItem& item, const DcmTagKey& tag, Origin origin)
{
  std::string text;
  if (dicom::readText(item, tag, text).bad())
    return std::nullopt;
  const std::size_t between = text.find('\\');
  if (between == std::string::npos)
    return std::nullopt;
  const PixelSpacing read{positive(text.substr(0, between)), positive(text.substr(between + 1)), origin};
  return read.row > 0 && read.column > 0 ? std::make_optional(read) : std::nullopt;
}

/// PS3.3 10.7.1.1: a Pixel Spacing that repeats the detector's, or the scanner's, was not calibrated, unless the type
/// says that it was.
bool isUncalibrated(DcmItem& dataset, const PixelSpacing& patient, const PixelSpacing& detector)
{
  return patient.row == detector.row && patient.column == detector.column &&
         !dataset.tagExists(DCM_PixelSpacingCalibrationType);
}

PixelSpacing inDataset(DcmItem& dataset)
{
  const auto patient = pairIn(dataset, DCM_PixelSpacing, Origin::patient);
  auto detector = pairIn(dataset, DCM_ImagerPixelSpacing, Origin::detector);
  if (!detector)
    detector = pairIn(dataset, DCM_NominalScannedPixelSpacing, Origin::detector);
  if (patient && !(detector && isUncalibrated(dataset, *patient, *detector)))
    return *patient;
  // PS3.3 C.7.6.3.1.7: the vertical side, then the horizontal one.
  return detector ? *detector : pairIn(dataset, DCM_PixelAspectRatio, Origin::ratio).value_or(PixelSpacing());
}

/// Of an item of functional groups (PS3.3 C.7.6.16.2.1).
std::optional<PixelSpacing> inGroups(DcmItem& groups)
{
  DcmItem* measures = nullptr;
  if (groups.findAndGetSequenceItem(DCM_PixelMeasuresSequence, measures).bad() || !measures)
    return std::nullopt;
  return pairIn(*measures, DCM_PixelSpacing, Origin::patient);
}

bool operator!=(const PixelSpacing& a, const PixelSpacing& b)
{
  return a.row != b.row || a.column != b.column || a.origin != b.origin;
}

} // namespace

const PixelSpacing& PixelSpacings::of(std::uint32_t frame) const
{
  const auto other = others.find(frame);
  return other == others.end() ? common : other->second;
}

PixelSpacings readPixelSpacings(DcmItem& dataset)
{
  PixelSpacings result{inDataset(dataset), {}};
  DcmItem* shared = nullptr;
  if (dataset.findAndGetSequenceItem(DCM_SharedFunctionalGroupsSequence, shared).good() && shared)
    result.common = inGroups(*shared).value_or(result.common);
  DcmSequenceOfItems* frames = nullptr;
  if (dataset.findAndGetSequence(DCM_PerFrameFunctionalGroupsSequence, frames).bad() || !frames)
    return result;
  std::uint32_t number = 0;
  for (DcmItem* frame : dicom::itemsOf(*frames))
    if (const auto own = inGroups(*frame); ++number == 1 && own && result.common.origin == Origin::none)
      result.common = *own; // as in most images all others have it too
    else if (own && *own != result.common)
      result.others.emplace(number, *own);
  return result;
}

} // namespace tarn::images
