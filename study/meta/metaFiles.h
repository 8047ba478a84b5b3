#pragma once

#include "support/Logger.h"

#include <filesystem>
#include <string>

namespace tarn::utils
{

constexpr char kStoreState[] = "storestate.rec";
constexpr char kObjectMeta[] = "objectdb.meta";
/// What is parked in the temporary meta repository while a study has no meta directory.
constexpr const char* kMovable[] = {"order",  "obsinfo.rec",   "derivationInfo", "multihub.info",
                                    "moveto", "movehere.uids", "movehere.mod",   "resend"};

/// Links are not followed: what they lead to is no part of a repository. Both throw where the system does not tell:
/// what cannot be looked at is not taken for missing.
bool isThere(const std::filesystem::path& path);
bool isRegularFile(const std::filesystem::path& path);

/// Renames, or copies across file systems so that `to` shows only when it is complete. A failure is one line.
[[nodiscard]] bool moveMetaFile(const std::filesystem::path& from, const std::filesystem::path& to, Logger& logger);

} // namespace tarn::utils
