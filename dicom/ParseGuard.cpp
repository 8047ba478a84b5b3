#include "dicom/ParseGuard.h"

#include "base/text.h"
#include "dicom/values.h"

#include <sys/resource.h>

#include <algorithm>
#include <cstring>

namespace tarn::dicom
{
namespace
{

/// Stack that reading may use, in bytes: some hundred levels of nesting, an eighth of the usual stack. Copying,
/// writing and destroying what was read recurse as deeply.
constexpr std::uintptr_t kStackBudget = 1U << 20U;
constexpr std::uintptr_t kStackShare = 8;

/// Elements that the toolkit may have to step over, one by one, to put those into their place that stand behind greater
/// tags (PS3.5 7.1 has them in ascending order): less than a second, and no matter for items of thousands of elements.
constexpr std::uint64_t kMaxReordering = 100000000;

constexpr Uint16 kItemGroup = 0xFFFE;

std::uintptr_t stackBudget()
{
  rlimit stack{};
  const bool bounded = getrlimit(RLIMIT_STACK, &stack) == 0 && stack.rlim_cur != RLIM_INFINITY;
  return bounded ? std::min<std::uintptr_t>(kStackBudget, stack.rlim_cur / kStackShare) : kStackBudget;
}

Uint16 swapped(Uint16 word)
{
  return static_cast<Uint16>((word << 8U) | (word >> 8U));
}

} // namespace

ParseGuard::ParseGuard(const ReadLimits& limits, const DcmDataset& readDataset, std::uintptr_t stackBase)
  : maxElements(limits.elements), dataset(readDataset), lowest(stackBase - std::min(stackBase, stackBudget()))
{
}

void ParseGuard::onMark(std::uintptr_t frame)
{
  if (++elements > maxElements)
    refuse(failure(base::joined("The file holds more elements than the ", maxElements, " of TARN_MAX_ELEMENTS")));
  markFrame = frame;
  tagWords = 0;
}

void ParseGuard::onRead(std::uintptr_t frame, const void* bytes, offile_off_t length)
{
  if (frame < lowest)
    refuse(failure("Sequences are nested too deeply"));
  if (tagWords == tag.size())
    return;
  if (length != sizeof(Uint16))
  {
    tagWords = tag.size();
    return;
  }
  std::memcpy(&tag.at(tagWords++), bytes, sizeof(Uint16));
  if (tagWords == tag.size())
    onTag();
}

/// An item ends when the parser reads on in a frame further up.
void ParseGuard::onTag()
{
  while (!levels.empty() && levels.back().frame < markFrame)
    levels.pop_back();
  const bool swap = DcmXfer(dataset.getOriginalXfer()).isBigEndian() != (gLocalByteOrder == EBO_BigEndian);
  const Uint16 group = swap ? swapped(tag[0]) : tag[0];
  const Uint32 whole = (static_cast<Uint32>(group) << 16U) | (swap ? swapped(tag[1]) : tag[1]);
  if (group == kItemGroup)
    return;
  if (levels.empty() || levels.back().frame != markFrame)
    levels.push_back({markFrame, 0, 0});
  Level& level = levels.back();
  if (whole < level.greatestTag && (reordering += level.elements) > kMaxReordering)
    refuse(failure("Elements are too far from ascending order"));
  level.greatestTag = std::max(level.greatestTag, whole);
  ++level.elements;
}

/// The first reason stands.
void ParseGuard::refuse(const OFCondition& reason)
{
  if (refusal.good())
    refusal = reason;
}

} // namespace tarn::dicom
