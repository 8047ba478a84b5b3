#pragma once

#include <string>

namespace tarn::base
{

/// The function `entry` of the module `file`, which stays loaded: a part of a program that only some runs need. It lies
/// beside the library or program that calls this, or in the folder of libraries beside that of the programs. Throws
/// std::runtime_error with the loader's reason.
void* loadModule(const std::string& file, const char* entry);

} // namespace tarn::base
