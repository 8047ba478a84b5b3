// An embedded database that may only be read, and that nobody has open.
#include "db/sqlite/UnlockedFile.h"

#include "db/DBException.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <system_error>

namespace tarn::db
{
namespace
{

struct stat statusOf(const std::string& path)
{
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0)
    throw DBException("cannot open the file: " + std::generic_category().message(errno));
  return status;
}

bool isEmptyOrAbsent(const std::string& path)
{
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 ? status.st_size == 0 : errno == ENOENT;
}

bool isSame(const timespec& one, const timespec& other)
{
  return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

} // namespace

/// The status is taken first: what changes afterwards is noticed.
UnlockedFile::UnlockedFile(const std::string& path) : path(path), first(statusOf(path))
{
  if (!isEmptyOrAbsent(path + "-wal") || !isEmptyOrAbsent(path + "-journal"))
    throw DBException("cannot open the file: its log cannot be read without the right to write");
}

std::string UnlockedFile::uri() const
{
  std::string uri = path.front() == '/' ? "file://" : "file:";
  for (const char c : path)
  {
    char escaped[4] = {};
    std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned char>(c));
    uri += c == '/' || std::isalnum(static_cast<unsigned char>(c)) != 0 ? std::string(1, c) : escaped;
  }
  return uri + "?immutable=1";
}

void UnlockedFile::requireUnchanged() const
{
  const struct stat now = statusOf(path);
  if (now.st_dev != first.st_dev || now.st_ino != first.st_ino || now.st_size != first.st_size ||
      !isSame(now.st_mtim, first.st_mtim) || !isSame(now.st_ctim, first.st_ctim))
    throw DBException("the file was changed while it was read without a lock");
}

} // namespace tarn::db
