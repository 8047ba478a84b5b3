#pragma once

#include "archive/journal/JournalIndex.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tarn::archive
{

/// The journals of an output folder, sorted by name; at least one. Throws JournalError where there is none, or one
/// cannot be read.
std::vector<JournalIndex> openJournals(const std::string& out, Damage damage = Damage::refuse);

/// Lines of the journals that cannot be read, after a message for each journal that has some.
std::uint64_t tellDamage(const std::vector<JournalIndex>& journals);

} // namespace tarn::archive
