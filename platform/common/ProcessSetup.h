#pragma once

namespace tarn
{

/// What a program sets up before anything else: the standard streams exist, a write to a closed pipe or over the file
/// size limit is an error rather than an end, and an exception that nothing catches becomes one line on standard error,
/// `program: text`, and status 1. `program` is a literal.
void setUpProcess(const char* program);

} // namespace tarn
