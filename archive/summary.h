#pragma once

#include "archive/convertArchive.h"
#include "archive/journal/JournalIndex.h"
#include "archive/run/Run.h"

#include <string>

namespace tarn::archive
{

/// What a person reads at the end of a run: how many of each outcome, the commonest reasons, where the journal is, and
/// what to type next. `journal` is null for a run without one.
std::string summaryOf(const RunResult& result, const ConvertRequest& request, const JournalIndex* journal);

/// The exit status of a run after which the records are these, by outcome.
int statusOf(const RunResult& result, const std::array<std::uint64_t, kOutcomes>& outcomes);

} // namespace tarn::archive
