#include "archive/journal/fileVersion.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace tarn::archive
{

FileVersion versionOf(const struct stat& status)
{
  std::tm utc = {};
  gmtime_r(&status.st_mtim.tv_sec, &utc);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%09ldZ", utc.tm_year + 1900, utc.tm_mon + 1,
                utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, status.st_mtim.tv_nsec);
  return {static_cast<std::uint64_t>(status.st_size), text.data()};
}

FileVersion versionOf(const std::string& path)
{
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 ? versionOf(status) : FileVersion();
}

} // namespace tarn::archive
