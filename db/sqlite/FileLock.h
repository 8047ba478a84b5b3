#pragma once

#include "base/Fd.h"
#include "db/GlobalLock.h"

#include <memory>
#include <string>
#include <utility>

namespace tarn::db
{

/// A lock on one byte of a file beside the database, which ends with this object and with the process. It belongs to
/// its own open file description: two connections of one process exclude each other.
class FileLock : public GlobalLock
{
public:
  /// Tries once, without waiting, to lock the byte of `DATABASE-lock` that stands for `name`. The file is made where it
  /// is missing, with the owner, group and mode of the file `database`, so that whoever may write that can hold a lock,
  /// and stays. Returns null while somebody else holds the lock. Throws DBException when the file cannot be made or
  /// locked.
  static std::unique_ptr<FileLock> tryLock(const std::string& database, const std::string& name);

private:
  explicit FileLock(base::Fd fd) : fd(std::move(fd)) {}

  base::Fd fd;
};

} // namespace tarn::db
