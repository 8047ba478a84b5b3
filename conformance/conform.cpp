// The rules, checked or applied.
#include "conformance/conform.h"

#include "conformance/Rule.h"

#include <algorithm>

namespace tarn::conformance
{
namespace
{

/// A remedy may break a rule that was held before; more rounds than this mean that two rules contradict each other.
constexpr int kMostRounds = 4;

std::vector<Finding> errorsIn(std::vector<Finding> findings)
{
  findings.erase(std::remove_if(findings.begin(), findings.end(),
                                [](const Finding& finding) { return finding.level == Level::note; }),
                 findings.end());
  return findings;
}

} // namespace

std::vector<Finding> check(DcmDataset& dataset, ImageSizes* sizes)
{
  Examination state(dataset, sizes);
  std::vector<Finding> findings;
  for (const Rule& rule : rules())
    for (Finding& finding : state.examine(rule))
      findings.push_back(std::move(finding));
  return findings;
}

/// A round holds the rules against what those before them mended. What a rule mends can break those before it alone, so
/// the next round ends with the last rule that mended something.
Conformed makeConformant(DcmDataset& dataset, ImageSizes* sizes)
{
  Examination state(dataset, sizes);
  Conformed result;
  std::vector<std::vector<Finding>> left(rules().size());
  std::size_t end = rules().size();
  for (int round = 0; round < kMostRounds && end > 0; ++round)
  {
    std::size_t mended = 0; // rules up to the last one that mended something
    for (std::size_t i = 0; i < end; ++i)
      if (const Rule& rule = rules()[i]; rule.level == Level::error || rule.remedy)
      {
        left[i].clear();
        if (const std::size_t count = state.mend(rule, left[i]); count > 0)
        {
          result.remedies[rule.remedy] += count;
          mended = i + 1;
        }
      }
    end = mended;
  }
  for (std::vector<Finding>& findings : left)
    result.left.insert(result.left.end(), findings.begin(), findings.end());
  // What the last round mended may have broken something else.
  result.left = errorsIn(end > 0 ? check(dataset, sizes) : std::move(result.left));
  return result;
}

} // namespace tarn::conformance
