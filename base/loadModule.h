#pragma once

#include <string>

namespace tarn::base
{

/// The function `entry` of the module `file`, which stays loaded: a part of a program that only some runs need. It lies
/// in the folder `annomend` beside the library that calls this, or beside the libraries that belong to the program.
/// Throws std::runtime_error with the loader's reason.
void* loadModule(const std::string& file, const char* entry);

} // namespace tarn::base
