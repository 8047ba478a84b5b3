#pragma once

#include <string>

namespace tarn::repository
{

enum class Kind
{
  files,
  directories
};

/// The names of what is in `directory` and of that kind (a link is neither), in byte order, as one block from malloc():
/// an array that ends with a null pointer, then the texts. `count` gets their number. Throws when it cannot be read.
char** listNames(const std::string& directory, Kind kind, bool fullPath, long& count);

} // namespace tarn::repository
