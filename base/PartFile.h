#pragma once

#include "base/Fd.h"

#include <cstddef>
#include <string>

#include <sys/stat.h>

namespace tarn::base
{

/// Returns the path of the part file of `target`: beside it as `.NAME.PID.part`, or as `.NAME.PID-NUMBER.part` where
/// the first name is taken, NAME being cut to what a file system takes. A file that has the first name belongs to a
/// process of the same number on another host, or was left by a process that was killed. Only its creator may remove
/// it.
std::string partPathFor(const std::string& target, bool isTaken);

/// A file that is written beside its target and takes the target's name when it is complete; unless it is kept, the
/// destructor removes it. Nobody but its owner may read it until it is permitted. An operation that fails leaves its
/// reason in errno.
class PartFile
{
public:
  /// Creates the part file of `target`; good() tells whether that succeeded.
  explicit PartFile(const std::string& target);
  ~PartFile();
  PartFile(const PartFile&) = delete;
  PartFile& operator=(const PartFile&) = delete;

  [[nodiscard]] bool good() const { return static_cast<bool>(fd); }
  const std::string& path() const { return partPath; }

  [[nodiscard]] bool write(const char* bytes, std::size_t length) const;
  /// Gives it the permissions of what has the target's name where that hands them down (permissions.h), else those of a
  /// new file. `before` is what has the name, itself, not what it may link to; null for nothing.
  [[nodiscard]] bool permit(const struct stat* before, const struct stat* source = nullptr) const;
  [[nodiscard]] bool permit() const; ///< looks what has the name

  /// Returns true when the bytes written so far are on the disk.
  [[nodiscard]] bool sync() const;
  /// Closes it and gives it the target's name, in place of what stands there.
  [[nodiscard]] bool keep();

private:
  std::string target;
  std::string partPath;
  Fd fd;
  bool mustGo = false; ///< the part file exists and has not become the target
};

} // namespace tarn::base
