#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tarn::archive
{

/// Walks `paths` and writes an inventory of the presentation states that are there to `file`, or to consoleOut(); then
/// totals. Returns the exit status.
int findStates(const std::vector<std::string>& paths, const std::optional<std::string>& file);

} // namespace tarn::archive
