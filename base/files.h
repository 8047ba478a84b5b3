#pragma once

#include "base/Fd.h"
#include "base/IMException.h"

#include <cstdint>
#include <optional>
#include <string>

#include <sys/stat.h>

namespace tarn::base
{

/// A file that cannot be read or looked at. `what()` is the system's reason, or "Not a regular file", or "The file
/// became shorter while it was read".
class FileError : public imutils::IMException
{
public:
  FileError(const std::string& reason, int code) : IMException(reason), code(code) {}
  /// With the system's text for `code`, a value of errno.
  explicit FileError(int code);

  const int code; ///< errno; 0 where the reason is not the system's
};

/// Returns the bytes of the regular file at `path`; nothing where there is no such file. Never waits for a FIFO or a
/// device. Throws FileError where it cannot be read: part of a file is never taken for the whole.
std::optional<std::string> fileContent(const std::string& path);

/// A regular file that is open for reading, as it was when it was opened.
struct RegularFile
{
  /// Opens the file at `path` and follows links. Never waits for a FIFO or a device. Throws FileError.
  explicit RegularFile(const std::string& path);

  /// Returns all bytes that the file had when it was opened. Throws FileError.
  std::string content() const;

  /// Its access control list, empty where it has none (AccessList.h). Throws FileError.
  std::string accessList() const;

  /// Its status, with a mode that gives nobody more where the list is gone (base::withoutList()). Throws FileError.
  struct stat withoutList() const;

  /// Reads the `length` bytes at `offset`, which lie in the file. Throws FileError.
  void read(std::uint64_t offset, char* buffer, std::size_t length) const;

  Fd fd;
  struct stat status = {};
  std::uint64_t size = 0; ///< in bytes
};

/// Opens the file at `path` for writing, empty, and makes it where it is missing. None, with the reason in errno, where
/// that fails, a link included, or something else than a regular file with one name stands there, which is neither
/// waited for nor changed.
Fd emptyFile(const std::string& path);

enum class Durable
{
  now,
  byCaller
};

/// Copies the regular file `from` to a new file `to`, which gets the permissions that `from` hands down, else those of
/// a new file, but none that `from` does not give (permissions.h). It is on the disk when the call returns, unless the
/// caller sees to that. Throws FileError; nothing is left under `to` then, unless it stood there before.
void copyFile(const std::string& from, const std::string& to, Durable durable = Durable::now);

/// Returns the last part of `path` as basename(1) gives it: "." for an empty path, "/" for the root.
std::string baseName(const std::string& path);

/// Returns whether anything stands under `path`; links are not followed. Throws FileError where the system does not
/// tell.
bool exists(const std::string& path);

/// Writes the names in `folder` to the disk as they are now. Returns false, with the reason in errno, on a failure.
[[nodiscard]] bool syncFolder(const std::string& folder);

} // namespace tarn::base
