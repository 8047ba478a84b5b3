// What parsing one file may cost beyond its bytes: depth, elements, time.
#include "dicom/ParseGuard.h"

#include "base/text.h"
#include "dicom/failure.h"

#include <sys/resource.h>

#include <algorithm>
#include <ctime>

namespace tarn::dicom
{
namespace
{

/// Stack that reading may use, in bytes: some hundred levels of nesting, an eighth of the usual stack. Copying,
/// writing and destroying what was read recurse as deeply.
constexpr std::uintptr_t kStackBudget = 1U << 20U;
constexpr std::uintptr_t kStackShare = 8;

/// Processor time that the parser may take. The toolkit steps over the elements of an item, one by one, to put one into
/// its place that stands behind greater tags (PS3.5 7.1 has them in ascending order), so that a few megabytes in
/// descending order would take it the better part of an hour; a million elements in order take it half a second. Time
/// that is spent waiting, for a slow disk or for other programs, is not counted.
constexpr std::chrono::seconds kMaxTime{5};
constexpr std::uint64_t kElementsPerLook = 256; // asking for the time costs as much as an element

std::uintptr_t stackBudget()
{
  rlimit stack{};
  const bool bounded = getrlimit(RLIMIT_STACK, &stack) == 0 && stack.rlim_cur != RLIM_INFINITY;
  return bounded ? std::min<std::uintptr_t>(kStackBudget, stack.rlim_cur / kStackShare) : kStackBudget;
}

std::chrono::nanoseconds threadTime()
{
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace

ParseGuard::ParseGuard(const ReadLimits& limits, std::uintptr_t stackBase)
  : maxElements(limits.elements), lowest(stackBase - std::min(stackBase, stackBudget())), last(threadTime() + kMaxTime)
{
}

void ParseGuard::onMark()
{
  if (++elements > maxElements)
    refuse(failure(base::joined("The file holds more elements than the ", maxElements, " of TARN_MAX_ELEMENTS")));
  if (elements % kElementsPerLook == 0 && threadTime() > last)
    refuse(failure(base::joined("Reading the file takes more than ", kMaxTime.count(), " seconds of processor time")));
}

void ParseGuard::onRead(std::uintptr_t frame)
{
  if (frame < lowest)
    refuse(failure("Sequences are nested too deeply"));
}

/// The first reason stands.
void ParseGuard::refuse(const OFCondition& reason)
{
  if (refusal.good())
    refusal = reason;
}

} // namespace tarn::dicom
