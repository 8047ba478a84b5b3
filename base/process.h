#pragma once

#include <functional>

namespace tarn::base
{

/// Runs a whole program and returns what `run` returns. Within `run` the standard streams exist, and a write to a
/// closed pipe or over the file size limit fails instead of ending the process. An exception that leaves `run` becomes
/// one line on standard error, `program: text`, and status 1, even where there is no memory left. `program` is a
/// literal.
int runProcess(const char* program, const std::function<int()>& run);

/// Ends the process with `status` after its streams were written out. Objects of static duration are not destroyed: to
/// take thousands of heap blocks apart that end with the process takes longer than some conversions. What has to be
/// closed is closed before.
[[noreturn]] void endProcess(int status);

} // namespace tarn::base
