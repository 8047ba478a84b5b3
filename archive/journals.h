#pragma once

#include "archive/journal/JournalIndex.h"

#include <string>
#include <vector>

namespace tarn::archive
{

/// The journals of an output folder, sorted by name; at least one. Throws JournalError where there is none, or one
/// cannot be read.
std::vector<JournalIndex> openJournals(const std::string& out, Damage damage = Damage::refuse);

} // namespace tarn::archive
