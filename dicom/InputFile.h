#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <cstddef>
#include <string>

namespace tarn::dicom
{

/// An open regular file that is read with every result checked; what is read later comes from the same file, whatever
/// stands under its path by then.
class InputFile
{
public:
  /// status() tells whether it could be opened. Neither a FIFO nor a device is waited for: they are refused.
  explicit InputFile(const std::string& path);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  const OFCondition& status() const { return opened; }
  /// Bytes in the file when it was opened.
  offile_off_t size() const { return bytes; }
  /// Reads exactly `length` bytes that begin at `offset`.
  OFCondition read(offile_off_t offset, void* buffer, std::size_t length) const;

private:
  OFCondition open(const std::string& path);

  int fd = -1;
  offile_off_t bytes = 0;
  OFCondition opened;
};

} // namespace tarn::dicom
