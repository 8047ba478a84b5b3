#include "archive/journal/failuresFirst.h"

namespace tarn::archive
{

const std::vector<std::set<Outcome>> kOutcomeGroups = {
    {Outcome::crashed, Outcome::timeout, Outcome::failed, Outcome::refused},
    {Outcome::partly},
    {Outcome::nothing, Outcome::converted},
};

void forEachFailuresFirst(const std::vector<JournalIndex>& journals, std::size_t groups, const RecordVisit& visit)
{
  for (std::size_t group = 0; group < groups; ++group)
    for (const JournalIndex& journal : journals)
      journal.forEach(visit, [group](Outcome outcome) { return kOutcomeGroups.at(group).count(outcome) > 0; });
}

bool isProblem(const Record& record)
{
  return kOutcomeGroups.back().count(record.outcome) == 0;
}

} // namespace tarn::archive
