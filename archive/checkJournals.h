#pragma once

#include "archive/FindingWriter.h"

#include <string>

namespace tarn::archive
{

/// Holds the journals of `out` against what lies there: each output is there whole, no other presentation state is, and
/// nothing belongs to two inputs. Writes the findings to consoleOut(). Returns the exit status: 0 without a finding.
int checkJournals(const std::string& out, FindingForm form);

} // namespace tarn::archive
