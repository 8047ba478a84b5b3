#pragma once

#include "archive/html/writeReport.h"

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
/// Writes it as a page, and to consoleOut() where that is.
int reportAsPage(const HtmlRequest& request);

} // namespace tarn::archive
