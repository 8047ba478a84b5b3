#pragma once

#include <list>
#include <string>

namespace impsconverter
{

/// Appends the path of every entry of `directory` that is not itself a directory, links followed. False when the
/// directory cannot be opened, or the status of an entry cannot be read, which ends the listing.
[[nodiscard]] bool addObjects(const std::string& directory, std::list<std::string>& paths);

/// Removes a directory and all that is in it; symbolic links are removed, not followed. True when the directory is gone
/// by this call.
[[nodiscard]] bool deleteDirectoryRecursively(const std::string& path);

} // namespace impsconverter
