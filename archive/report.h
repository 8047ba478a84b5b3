#pragma once

#include <string>

namespace tarn::archive
{

enum class ReportForm
{
  text, ///< totals, and what was not converted
  json, ///< totals
  csv   ///< a row for each input
};

/// Writes what the journals of `out` say to consoleOut(). Returns the exit status.
int report(const std::string& out, ReportForm form);

} // namespace tarn::archive
