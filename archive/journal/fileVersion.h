#pragma once

#include <cstdint>
#include <string>

#include <sys/stat.h>

namespace tarn::archive
{

/// What tells a version of a file from another one.
struct FileVersion
{
  std::uint64_t size = 0; ///< bytes
  std::string mtime;      ///< UTC, "2026-01-02T03:04:05.123456789Z"; empty for a file that cannot be looked at
};

FileVersion versionOf(const struct stat& status);
/// Links are followed.
FileVersion versionOf(const std::string& path);

} // namespace tarn::archive
