#include "dicom/InputFile.h"

#include "dicom/values.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace tarn::dicom
{

InputFile::InputFile(const std::string& path) : opened(open(path)) {}

InputFile::~InputFile()
{
  if (fd >= 0)
    close(fd);
}

OFCondition InputFile::open(const std::string& path)
{
  fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  struct stat status = {};
  if (fd < 0 || fstat(fd, &status) != 0)
    return failure(std::strerror(errno));
  bytes = status.st_size;
  return S_ISREG(status.st_mode) ? EC_Normal : failure("Not a regular file");
}

OFCondition InputFile::read(offile_off_t offset, void* buffer, std::size_t length) const
{
  auto* to = static_cast<char*>(buffer);
  while (length > 0)
  {
    const ssize_t got = pread(fd, to, length, offset);
    if (got < 0 && errno == EINTR)
      continue;
    if (got < 0)
      return failure(std::strerror(errno));
    if (got == 0)
      return failure("The file became shorter while it was read");
    to += got;
    offset += got;
    length -= static_cast<std::size_t>(got);
  }
  return EC_Normal;
}

} // namespace tarn::dicom
