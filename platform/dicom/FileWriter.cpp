#include "FileWriter.h"

#include "ElementText.h"

#include <dcmtk/dcmdata/dcostrmb.h>
#include <dcmtk/dcmdata/dcwcache.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

namespace tarn::dicom
{
namespace
{

constexpr std::size_t kBlock = 65536;

OFCondition systemFailure()
{
  return failure(std::strerror(errno));
}

/// The path that a write to `path` reaches, and what stands there.
struct Target
{
  explicit Target(const std::string& wanted) : path(wanted), exists(stat(wanted.c_str(), &status) == 0)
  {
    const std::unique_ptr<char, decltype(&std::free)> real(exists ? realpath(wanted.c_str(), nullptr) : nullptr,
                                                           &std::free);
    if (real)
      path = real.get();
  }

  /// A rename asks neither for the permissions of what it replaces nor for its kind.
  OFCondition checkReplaceable() const
  {
    if (!exists || S_ISDIR(status.st_mode)) // the rename refuses a directory
      return EC_Normal;
    if (!S_ISREG(status.st_mode))
      return failure("Not a regular file");
    return faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0 ? EC_Normal : systemFailure();
  }

  /// Beside the target; the name is shortened where it would be longer than a file system takes.
  std::string partPath() const
  {
    const std::string suffix = "." + std::to_string(getpid()) + ".part";
    const std::size_t slash = path.rfind('/');
    const std::size_t start = slash == std::string::npos ? 0 : slash + 1;
    const std::string name = path.substr(start).substr(0, NAME_MAX - suffix.size() - 1);
    return path.substr(0, start) + "." + name + suffix;
  }

  std::string path;
  struct stat status
  {
  };
  bool exists;
};

/// A file that is being written; removed again unless it was kept.
class PartFile
{
public:
  explicit PartFile(std::string partPath) : path(std::move(partPath))
  {
    unlink(path.c_str()); // left by a process of the same number that was killed
    fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  }
  ~PartFile()
  {
    if (fd >= 0)
      close(fd);
    if (!kept)
      unlink(path.c_str());
  }
  PartFile(const PartFile&) = delete;
  PartFile& operator=(const PartFile&) = delete;

  bool good() const { return fd >= 0; }

  bool write(const char* bytes, std::size_t length) const
  {
    while (length > 0)
    {
      const ssize_t written = ::write(fd, bytes, length);
      if (written < 0 && errno == EINTR)
        continue;
      if (written < 0)
        return false;
      bytes += written;
      length -= static_cast<std::size_t>(written);
    }
    return true;
  }

  /// A file that takes the place of another is on the disk before it does.
  bool secureFor(const Target& target) const
  {
    return !target.exists || (fchmod(fd, target.status.st_mode & 07777U) == 0 && fsync(fd) == 0);
  }

  bool keepAs(const std::string& name)
  {
    const bool closed = close(std::exchange(fd, -1)) == 0;
    kept = closed && rename(path.c_str(), name.c_str()) == 0;
    return kept;
  }

private:
  std::string path;
  int fd = -1;
  bool kept = false;
};

OFCondition drain(DcmOutputBufferStream& stream, const PartFile& part)
{
  void* bytes = nullptr;
  offile_off_t length = 0;
  stream.flushBuffer(bytes, length);
  return part.write(static_cast<const char*>(bytes), static_cast<std::size_t>(length)) ? EC_Normal : systemFailure();
}

OFCondition encode(DcmFileFormat& file, const PartFile& part)
{
  std::vector<char> buffer(kBlock);
  DcmOutputBufferStream stream(buffer.data(), static_cast<offile_off_t>(buffer.size()));
  DcmWriteCache cache;
  file.transferInit();
  OFCondition status = EC_StreamNotifyClient;
  while (status == EC_StreamNotifyClient)
  {
    status = file.write(stream, EXS_Unknown, EET_UndefinedLength, &cache, EGL_recalcGL, EPD_noChange, 0, 0, 0,
                        EWM_createNewMeta);
    if (status.good() || status == EC_StreamNotifyClient)
      if (const OFCondition drained = drain(stream, part); drained.bad())
        status = drained;
  }
  file.transferEnd();
  while (status.good() && !stream.isFlushed())
  {
    stream.flush();
    status = drain(stream, part);
  }
  return status;
}

} // namespace

OFCondition saveFile(DcmFileFormat& file, const std::string& path)
{
  const Target target(path);
  OFCondition status = target.checkReplaceable();
  if (status.bad())
    return status;
  PartFile part(target.partPath());
  if (!part.good())
    return systemFailure();
  status = encode(file, part);
  if (status.bad())
    return status;
  return part.secureFor(target) && part.keepAs(target.path) ? EC_Normal : systemFailure();
}

} // namespace tarn::dicom
