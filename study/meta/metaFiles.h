#pragma once

#include <filesystem>

namespace tarn::study
{

// What a study's meta directory holds.
constexpr char kStoreState[] = "storestate.rec";
constexpr char kObjectMeta[] = "objectdb.meta";
/// What is parked in the temporary meta repository while a study has no meta directory.
constexpr const char* kMovable[] = {"order",  "obsinfo.rec",   "derivationInfo", "multihub.info",
                                    "moveto", "movehere.uids", "movehere.mod",   "resend"};

/// Links are not followed, since what they lead to is no part of a repository. Both throw filesystem_error where the
/// system does not tell: what cannot be looked at is not taken for missing.
inline bool entryExists(const std::filesystem::path& path)
{
  return std::filesystem::exists(std::filesystem::symlink_status(path));
}
inline bool isRegularFile(const std::filesystem::path& path)
{
  return std::filesystem::is_regular_file(std::filesystem::symlink_status(path));
}

} // namespace tarn::study
