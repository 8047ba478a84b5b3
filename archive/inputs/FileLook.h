#pragma once

#include "archive/journal/fileVersion.h"
#include "base/Fd.h"

#include <optional>
#include <string>

namespace tarn::archive
{

/// A first look at a file that may be a presentation state. Nothing is waited for: a FIFO, a device and a socket are
/// seen as what they are.
class FileLook
{
public:
  enum class Kind
  {
    file,
    other,   ///< nothing that could be one
    missing, ///< also where links lead to no file
    unreadable
  };

  explicit FileLook(const std::string& path);

  Kind kind() const { return found; }
  const FileVersion& version() const { return seen; }
  /// Why it is missing or unreadable.
  const std::string& reason() const { return trouble; }
  /// Whether its first bytes are those of a presentation state whose class begins as Grayscale Softcopy Presentation
  /// State Storage does, or do not tell the class of a DICOM object. Nothing where they cannot be read, and kind() is
  /// unreadable then.
  std::optional<bool> mayBeState();

private:
  void fail(const std::string& path, int error);

  base::Fd fd;
  Kind found = Kind::file;
  FileVersion seen;
  std::string trouble;
};

} // namespace tarn::archive
