// Files as the toolkit's parser takes them in.
#include "dicom/FileProducer.h"

#include "dicom/failure.h"

#include <algorithm>
#include <cstring>

namespace tarn::dicom
{

void InputFile::copy(std::uint64_t offset, char* buffer, std::size_t length) const
{
  if (offset + length <= start.size())
    std::memcpy(buffer, start.data() + offset, length);
  else
    read(offset, buffer, length);
}

offile_off_t FileProducer::read(void* buffer, offile_off_t length)
{
  const offile_off_t wanted = std::min(length, avail());
  try
  {
    file->copy(static_cast<std::uint64_t>(position), static_cast<char*>(buffer), static_cast<std::size_t>(wanted));
    return skip(wanted);
  }
  catch (const base::FileError& error)
  {
    condition = failure(error.what());
    return 0;
  }
}

offile_off_t FileProducer::skip(offile_off_t length)
{
  const offile_off_t skipped = std::min(length, avail());
  position += skipped;
  return skipped;
}

} // namespace tarn::dicom
