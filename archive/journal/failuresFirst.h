#pragma once

#include "archive/journal/JournalIndex.h"
#include "archive/journal/Record.h"

#include <functional>
#include <set>
#include <vector>

namespace tarn::archive
{

/// Groups of outcomes, the worst before the others: what was not converted, what was in part, and the rest.
extern const std::vector<std::set<Outcome>> kOutcomeGroups;
constexpr std::size_t kProblemGroups = 2; ///< all but what is as it should be

using RecordVisit = std::function<void(const Record& record)>;

/// Calls `visit` with the last record of each input of the first `groups` groups, a group after the other, each in the
/// order of the journals.
void forEachFailuresFirst(const std::vector<JournalIndex>& journals, std::size_t groups, const RecordVisit& visit);

/// Whether the record is of one of the groups that are problems.
bool isProblem(const Record& record);

} // namespace tarn::archive
