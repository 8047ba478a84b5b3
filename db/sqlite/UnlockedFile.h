#pragma once

#include <string>

#include <sys/stat.h>

namespace tarn::db
{

/// The file of an embedded database that is read without locks, since the account may make none: it has no log, so that
/// nobody has it open, and all that is committed stands in it. Somebody may open it later. What he writes goes to his
/// log first, and to the file when he copies the log there; what was read is whole as long as he has not.
class UnlockedFile
{
public:
  /// Throws DBException where a log or a journal lies beside the file, without which it is not whole.
  explicit UnlockedFile(const std::string& path);

  /// The name under which the library opens it so.
  std::string uri() const;
  /// Throws DBException when the file is not as it was at first.
  void requireUnchanged() const;

private:
  std::string path;
  struct stat first = {};
};

} // namespace tarn::db
