#pragma once

#include <functional>

namespace tarn::base
{

/// Runs a whole program and returns what `run` returns. Within `run` the standard streams exist, and a write to a
/// closed pipe or over the file size limit fails instead of ending the process. An exception that leaves `run` becomes
/// one line on standard error, `program: text`, and status 1, even where there is no memory left. `program` is a
/// literal.
int runProcess(const char* program, const std::function<int()>& run);

} // namespace tarn::base
