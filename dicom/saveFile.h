#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <cstddef>
#include <functional>
#include <string>

#include <sys/stat.h>

namespace tarn::dicom
{

/// Gives the bytes of the file that saveFile() would make to `write`, block by block; what that returns false for ends
/// it, with the system's text for errno. The condition's text says what failed.
OFCondition encode(DcmFileFormat& file, const std::function<bool(const char*, std::size_t)>& write);

/// Where a file is to go, and what stands there.
struct SaveTarget
{
  explicit SaveTarget(std::string path);

  std::string path;
  struct stat present = {}; ///< itself, not what it may link to
  bool exists = false;
  int error = 0; ///< as errno tells why the system does not say; 0 when it does
};

/// Saves as DcmFileFormat::saveFile does with its defaults (the dataset's own transfer syntax, undefined lengths, group
/// lengths recalculated, new file meta information, in which the implementation is a constant), but checks the result
/// of every write.
///
/// The file appears under its path only when it is complete: it is written beside it as `.NAME.PID.part`, which nobody
/// else may read, and renamed. Where it replaces a file, it is on the disk before it does. A file of this account with
/// one name hands its permissions down (base::PartFile::permit()); with these and the same bytes it stays and gets a
/// new time. Another file hands nothing down. A FIFO or a symbolic link is itself replaced, neither waited for nor
/// followed. A file that may not be written, a directory, a device and a socket are not replaced.
///
/// `source` is the file of which this is a copy: no other account may do with the copy what it may not do with that,
/// and the preamble (PS3.10 7.1), in which another format may begin, holds zeros.
///
/// On failure nothing is left behind, what stood there stands there still, and the condition's text says why.
OFCondition saveFile(DcmFileFormat& file, const SaveTarget& target, const struct stat* source = nullptr);
inline OFCondition saveFile(DcmFileFormat& file, const std::string& path, const struct stat* source = nullptr)
{
  return saveFile(file, SaveTarget(path), source);
}

} // namespace tarn::dicom
