#pragma once

#include <string>

namespace tarn::archive
{

/// How findings are written.
enum class FindingForm
{
  text, ///< FILE: CODE: what
  json  ///< {"file","code","what"}, one a line
};

/// Holds the journals of `out` against what lies there: each output is there whole, no other presentation state is, and
/// nothing belongs to two inputs. Writes the findings to consoleOut(). Returns the exit status: 0 without a finding.
int checkJournals(const std::string& out, FindingForm form);

} // namespace tarn::archive
