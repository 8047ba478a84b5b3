#pragma once

#include "db/GlobalLock.h"

#include <memory>
#include <string>

namespace tarn::db
{

/// A lock on a file that exists while it is held, and goes with the process.
class FileLock : public GlobalLock
{
public:
  /// One attempt, without waiting, to lock `path`, which is made with the owner, group and mode of the file `model`, so
  /// that whoever may use that can hold the lock; null when somebody else holds it. Throws DBException when the file
  /// cannot be made or locked.
  static std::unique_ptr<FileLock> tryLock(const std::string& path, const std::string& model);
  ~FileLock() override;

private:
  FileLock(int descriptor, std::string path);
  bool isCurrent() const;

  int descriptor;
  bool locked = false;
  std::string path;
};

/// `name` as a part of a file name: bytes other than letters, digits, '.', '-' and '_' become '%' and two digits.
std::string fileNamePart(const std::string& name);

} // namespace tarn::db
