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

/// A rule in the course of the mending.
struct Step
{
  const Rule& rule;
  bool isDue = true; ///< it was not held yet, or what it asked for has been changed since
  TagSet asked = {};
  std::vector<Finding> left = {};
};

std::vector<Step> stepsOf(const std::vector<Rule>& rules)
{
  std::vector<Step> steps;
  steps.reserve(rules.size());
  for (const Rule& rule : rules)
    if (rule.level == Level::error || rule.remedy)
      steps.push_back({rule});
  return steps;
}

/// What a rule finds depends on what it asks for alone: it is due again where that was changed, and where it mended or
/// could not mend.
void mend(Examination& state, Step& step, std::vector<Step>& steps, Conformed& result)
{
  step.left.clear();
  const std::size_t count = state.mend(step.rule, step.left);
  step.asked = state.asked();
  if (!step.left.empty())
    step.asked.addAll(); // what is wrong may go with something else
  step.isDue = count > 0;
  if (count == 0)
    return;
  result.remedies[step.rule.remedy] += count;
  for (Step& other : steps)
    other.isDue = other.isDue || other.asked.meets(state.changed());
}

bool isAnyDue(const std::vector<Step>& steps)
{
  return std::any_of(steps.begin(), steps.end(), [](const Step& step) { return step.isDue; });
}

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

/// A round holds the rules that are due against what those before them mended.
Conformed makeConformant(DcmDataset& dataset, ImageSizes* sizes)
{
  Examination state(dataset, sizes);
  Conformed result;
  std::vector<Step> steps = stepsOf(rules());
  for (int round = 0; round < kMostRounds && isAnyDue(steps); ++round)
    for (Step& step : steps)
      if (step.isDue)
        mend(state, step, steps, result);
  for (const Step& step : steps)
    result.left.insert(result.left.end(), step.left.begin(), step.left.end());
  // What the last round mended may have broken something else.
  result.left = errorsIn(isAnyDue(steps) ? check(dataset, sizes) : std::move(result.left));
  return result;
}

} // namespace tarn::conformance
