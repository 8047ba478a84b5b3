#include "FileWriter.h"

#include "ElementText.h"
#include "PartFile.h"

#include <dcmtk/dcmdata/dcostrmb.h>
#include <dcmtk/dcmdata/dcwcache.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
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

  std::string path;
  struct stat status
  {
  };
  bool exists;
};

/// A file that takes the place of another is on the disk before it does.
bool secureFor(const Target& target, const PartFile& part)
{
  return !target.exists || (part.setMode(target.status.st_mode & 07777U) && part.sync());
}

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
  PartFile part(target.path);
  if (!part.good())
    return systemFailure();
  status = encode(file, part);
  if (status.bad())
    return status;
  return secureFor(target, part) && part.keep() ? EC_Normal : systemFailure();
}

} // namespace tarn::dicom
