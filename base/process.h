#pragma once

#include <functional>

namespace tarn::base
{

/// A whole program: gives what `run` returns. Before it, the standard streams exist, and a write to a closed pipe or
/// over the file size limit is an error rather than an end. An exception that leaves `run` becomes one line on standard
/// error, `program: text`, and status 1, also where there is no memory left. `program` is a literal.
int runProcess(const char* program, const std::function<int()>& run);

} // namespace tarn::base
