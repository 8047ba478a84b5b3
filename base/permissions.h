#pragma once

#include "base/Fd.h"

#include <string>

#include <sys/stat.h>

namespace tarn::base
{

// What others may do with a file that was made for its owner alone. A copy of `source` gives nobody else what that does
// not give, whose mode is one without a list (RegularFile::withoutList()); null for what is no copy. An operation that
// fails leaves its reason in errno.

/// Gives the file the permissions of a new one under `path`, as the folder and the umask say; where the folder has no
/// list, as this was for the first file that was made so.
[[nodiscard]] bool permitAsNew(const Fd& file, const std::string& path, const struct stat* source = nullptr);

/// Gives it the permissions of the file `before`, which has that list, and its group where the system lets it, but for
/// execution, set-id bits and writing by others. The list goes along where nothing is taken away.
[[nodiscard]] bool permitLike(const Fd& file, const struct stat& before, const std::string& list,
                              const struct stat* source = nullptr);

/// Whether a file's permissions may be handed down: it is a regular file of this account with one name. A file of
/// another account says nothing, and a second name may be a link with which somebody chooses among ours.
bool handsDown(const struct stat& file);

} // namespace tarn::base
