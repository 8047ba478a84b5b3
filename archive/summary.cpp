// The last lines of a run.
#include "archive/summary.h"

#include "archive/run/exitStatus.h"
#include "base/text.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <utility>
#include <vector>

namespace tarn::archive
{
namespace
{

constexpr std::size_t kCommonest = 10;

using Counts = std::array<std::uint64_t, kOutcomes>;

std::uint64_t countOf(const Counts& outcomes, Outcome outcome)
{
  return outcomes.at(static_cast<std::size_t>(outcome));
}

std::uint64_t notConverted(const Counts& outcomes)
{
  return countOf(outcomes, Outcome::refused) + countOf(outcomes, Outcome::failed) +
         countOf(outcomes, Outcome::crashed) + countOf(outcomes, Outcome::timeout);
}

void putOutcomes(std::ostream& text, const Counts& outcomes)
{
  for (std::size_t i = 0; i < kOutcomes; ++i)
    text << "  " << nameOf(static_cast<Outcome>(i)) << ": " << outcomes.at(i) << '\n';
}

void putReasons(std::ostream& text, const std::map<std::string, std::uint64_t>& reasons)
{
  std::vector<std::pair<std::string, std::uint64_t>> sorted;
  std::copy_if(reasons.begin(), reasons.end(), std::back_inserter(sorted),
               [](const auto& reason) { return reason.second > 0; });
  std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.second > b.second; });
  sorted.resize(std::min(sorted.size(), kCommonest));
  if (!sorted.empty())
    text << "Commonest reasons:\n";
  for (const auto& [code, count] : sorted)
    text << "  " << code << ": " << count << '\n';
}

/// What to do next, as the run ended.
void putAdvice(std::ostream& text, const RunResult& result, const ConvertRequest& request, const Counts& outcomes)
{
  if (result.stop.status != 0)
  {
    text << "Stopped" << (result.stop.reason.empty() ? " by a signal" : ": " + base::printable(result.stop.reason))
         << '\n';
    if (result.stop.status != exitStatus::kUsage)
      text << "Run the same command again to go on.\n";
    return;
  }
  text << "See: annomend-archive report " << base::printable(request.out) << '\n';
  if (notConverted(outcomes) + countOf(outcomes, Outcome::partly) > 0)
    text << "Once the cause is mended, run the same command with --retry.\n";
}

} // namespace

std::string summaryOf(const RunResult& result, const ConvertRequest& request, const JournalIndex* journal)
{
  const RunTotals& totals = result.totals;
  std::ostringstream text;
  text << "This run: " << totals.done() << " done, " << totals.known << " done before, " << totals.passed
       << " passed over";
  if (totals.foreign > 0)
    text << ", " << totals.foreign << " of other shards";
  if (totals.problems > 0)
    text << ", " << totals.problems << " problems";
  text << ".\n";
  if (!journal)
  {
    putOutcomes(text, totals.outcomes);
    return text.str();
  }
  text << "Journal " << base::printable(journal->path()) << ":\n";
  putOutcomes(text, journal->outcomes());
  putReasons(text, journal->reasons());
  putAdvice(text, result, request, journal->outcomes());
  return text.str();
}

int statusOf(const RunResult& result, const Counts& outcomes)
{
  if (result.stop.status != 0)
    return result.stop.status;
  if (notConverted(outcomes) + result.totals.problems > 0)
    return exitStatus::kFailed;
  return countOf(outcomes, Outcome::partly) > 0 ? exitStatus::kPartly : exitStatus::kDone;
}

} // namespace tarn::archive
