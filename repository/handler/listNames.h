#pragma once

#include <string>

namespace tarn::repository
{

enum class Kind
{
  files,
  directories
};

/// Returns the names of all entries of `directory` that are of the kind (a link is of neither), in byte order, as one
/// block from malloc(): an array that ends with a null pointer, then the texts. `count` gets their number. Throws when
/// the directory cannot be read.
char** listNames(const std::string& directory, Kind kind, bool fullPath, long& count);

} // namespace tarn::repository
