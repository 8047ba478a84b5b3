#pragma once

#include <cstddef>
#include <string>

#include <sys/types.h>

namespace tarn
{

/// Where to write what is to become `target`: beside it as `.NAME.PID.part`, or as `.NAME.PID-NUMBER.part` where that
/// is taken, with the name cut to what a file system takes. What is there belongs to a process of the same number on
/// another host, or was left by one that was killed: it is nobody else's to remove.
std::string partPathFor(const std::string& target, bool isTaken);

/// A file that is being written beside the one that it is to become; removed again unless it was kept. What fails
/// leaves its reason in errno.
class PartFile
{
public:
  /// `target` is the path that it is to get; good() tells whether it could be made.
  explicit PartFile(const std::string& target);
  ~PartFile();
  PartFile(const PartFile&) = delete;
  PartFile& operator=(const PartFile&) = delete;

  [[nodiscard]] bool good() const { return fd >= 0; }
  const std::string& path() const { return partPath; }

  [[nodiscard]] bool write(const char* bytes, std::size_t length) const;
  [[nodiscard]] bool setMode(mode_t mode) const;
  /// Returns when what was written is on the disk.
  [[nodiscard]] bool sync() const;
  /// Gives it the name of the target, over what stands there.
  [[nodiscard]] bool keep();

private:
  std::string target;
  std::string partPath;
  int fd = -1;
  bool mustGo = false; // what was made here and is no longer of use
};

/// Returns when the names in `folder` are on the disk as they are now.
[[nodiscard]] bool syncFolder(const std::string& folder);

} // namespace tarn
