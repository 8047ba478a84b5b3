#pragma once

#include "base/Fd.h"

#include <optional>
#include <string>

#include <sys/stat.h>

namespace tarn::base
{

/// The access control list of a file (acl(5)) as the system keeps it: empty where the file has none. Nothing, with the
/// reason in errno, where the system does not tell.
std::optional<std::string> accessListOf(const Fd& file);
std::optional<std::string> accessListAt(const std::string& path); ///< of a link its own: none

/// Gives the file that list. Returns false, with the reason in errno, on a failure.
[[nodiscard]] bool setAccessList(const Fd& file, const std::string& list);

/// Takes the file's list away. Returns false, with the reason in errno, where it may still have one.
[[nodiscard]] bool dropAccessList(const Fd& file);

/// What `mode` of a file with that list is to be where the list is gone, so that nobody has more than before: the bits
/// of the group are the most that the list gives to anybody, and it may give less to some.
mode_t withoutList(mode_t mode, const std::string& list);

} // namespace tarn::base
