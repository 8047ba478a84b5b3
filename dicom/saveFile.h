#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <cstddef>
#include <functional>
#include <string>

namespace tarn::dicom
{

/// Gives the bytes of the file that saveFile() would make to `write`, block by block; what that returns false for ends
/// it, with the system's text for errno. The condition's text says what failed.
OFCondition encode(DcmFileFormat& file, const std::function<bool(const char*, std::size_t)>& write);

/// Saves as DcmFileFormat::saveFile does with its defaults (the dataset's own transfer syntax, undefined lengths, group
/// lengths recalculated, new file meta information, in which the implementation is a constant), but checks the result
/// of every write.
///
/// The file appears under `path` only when it is complete: it is written beside it as `.NAME.PID.part` and renamed.
/// Where it replaces a file, it is on the disk before it does and takes over that file's permissions; a file of the
/// same bytes stays and gets a new time. A FIFO or a symbolic link is itself replaced, neither waited for nor followed.
/// A file that may not be written, a directory, a device and a socket are not replaced.
///
/// On failure nothing is left behind, what stood under `path` stands there still, and the condition's text says why.
OFCondition saveFile(DcmFileFormat& file, const std::string& path);

} // namespace tarn::dicom
