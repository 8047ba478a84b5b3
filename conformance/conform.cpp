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

Conformed makeConformant(DcmDataset& dataset, ImageSizes* sizes)
{
  Examination state(dataset, sizes);
  Conformed result;
  std::size_t mended = 1;
  for (int round = 0; round < kMostRounds && mended > 0; ++round)
  {
    mended = 0;
    result.left.clear();
    for (const Rule& rule : rules())
      if (rule.level == Level::error || rule.remedy)
        if (const std::size_t count = state.mend(rule, result.left); count > 0)
        {
          result.remedies[rule.remedy] += count;
          mended += count;
        }
  }
  // What the last round mended may have broken something else.
  result.left = errorsIn(mended > 0 ? check(dataset, sizes) : std::move(result.left));
  return result;
}

} // namespace tarn::conformance
