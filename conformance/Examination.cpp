// One rule held against one presentation state.
#include "conformance/Examination.h"

#include "conformance/Rule.h"

namespace tarn::conformance
{

void Examination::find(const Placed& where, const std::string& text, Remedy remedy)
{
  found.emplace_back(Finding{current->code, current->clause, current->level, placeOf(where), text}, std::move(remedy));
}

void Examination::find(const Placed& where, const DcmTagKey& tag, const std::string& text, Remedy remedy)
{
  found.emplace_back(Finding{current->code, current->clause, current->level, placeOf(where, tag), text},
                     std::move(remedy));
}

std::vector<Finding> Examination::examine(const Rule& rule)
{
  current = &rule;
  found.clear();
  rule.examine(*this);
  std::vector<Finding> findings;
  for (auto& [finding, remedy] : found)
    findings.push_back(std::move(finding));
  return findings;
}

/// Backwards: a remedy may remove an item, and with it nothing that an earlier one looks at.
std::size_t Examination::mend(const Rule& rule, std::vector<Finding>& left)
{
  current = &rule;
  found.clear();
  rule.examine(*this);
  std::size_t mended = 0;
  cache.suspend();
  for (auto place = found.rbegin(); place != found.rend(); ++place)
    if (place->second)
    {
      place->second();
      ++mended;
    }
    else
      left.push_back(std::move(place->first));
  cache.resume(mended > 0);
  return mended;
}

} // namespace tarn::conformance
