// Saving: encoded into a part file that takes the target's place when it is complete.
#include "dicom/saveFile.h"

#include "dicom/failure.h"
#include "base/AccessList.h"
#include "base/PartFile.h"
#include "base/files.h"

#include <dcmtk/dcmdata/dcostrmb.h>
#include <dcmtk/dcmdata/dcwcache.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

namespace tarn::dicom
{
namespace
{

constexpr offile_off_t kBlock = 65536;

// Who wrote the file (PS3.10, 7.1): the same with every version of the toolkit, so that an output that is made again on
// a newer system has the bytes that it had.
constexpr char kImplementationClassUid[] = "1.2.276.0.7230010.3.0.3.6.7";
constexpr char kImplementationVersionName[] = "OFFIS_DCMTK_367";

OFCondition systemFailure()
{
  return failure(std::strerror(errno));
}

bool isFile(const SaveTarget& target)
{
  return target.exists && S_ISREG(target.present.st_mode);
}

/// Returns good where the file may take its place. rename(2) refuses directories by itself, but asks neither for the
/// permissions nor for the kind of what it replaces.
OFCondition checkReplaceable(const SaveTarget& target)
{
  if (target.error != 0)
    return failure(std::strerror(target.error));
  if (isFile(target))
    return faccessat(AT_FDCWD, target.path.c_str(), W_OK, AT_EACCESS) == 0 ? EC_Normal : systemFailure();
  const mode_t mode = target.present.st_mode;
  const bool isDevice = target.exists && (S_ISCHR(mode) || S_ISBLK(mode) || S_ISSOCK(mode));
  return isDevice ? failure("Not a regular file") : EC_Normal;
}

bool isLike(const struct stat& one, const struct stat& other)
{
  return one.st_size == other.st_size && one.st_mode == other.st_mode && one.st_uid == other.st_uid &&
         one.st_gid == other.st_gid;
}

/// Whether the target is a file of this account with the permissions and the bytes of the part file. It then stays,
/// with a new time, and the disk need not be waited for: a repeated conversion costs no more than the first. A file
/// that cannot be compared is replaced, and so is one of another account, which might change it later.
bool keepsTarget(const SaveTarget& target, const base::PartFile& part)
{
  struct stat written = {};
  if (!isFile(target) || stat(part.path().c_str(), &written) != 0 || !isLike(target.present, written))
    return false;
  try
  {
    const base::RegularFile present(target.path);
    return isLike(present.status, written) && present.accessList() == base::accessListAt(part.path()) &&
           present.content() == base::fileContent(part.path()) && futimens(present.fd.get(), nullptr) == 0;
  }
  catch (const base::FileError&)
  {
    return false;
  }
}

/// Makes the file meta information new, as the toolkit does when it writes, but for the implementation.
OFCondition renewMeta(DcmFileFormat& file, E_TransferSyntax syntax)
{
  DcmMetaInfo& meta = *file.getMetaInfo();
  (void)file.validateMetaInfo(syntax, EWM_createNewMeta); // a writer does not ask either
  OFCondition status = meta.putAndInsertString(DCM_ImplementationClassUID, kImplementationClassUid);
  if (status.good())
    status = meta.putAndInsertString(DCM_ImplementationVersionName, kImplementationVersionName);
  if (status.good())
    status = meta.computeGroupLengthAndPadding(EGL_recalcGL, EPD_noChange, META_HEADER_DEFAULT_TRANSFERSYNTAX,
                                               EET_UndefinedLength);
  return status;
}

/// Writes on from where the last call found the stream full. Not DcmFileFormat::write, which puts its own
/// implementation into the file meta information.
OFCondition writeOn(DcmFileFormat& file, E_TransferSyntax syntax, DcmOutputStream& stream, DcmWriteCache& cache)
{
  const OFCondition status = file.getMetaInfo()->write(stream, syntax, EET_UndefinedLength, &cache);
  return status.bad()
             ? status
             : file.getDataset()->write(stream, syntax, EET_UndefinedLength, &cache, EGL_recalcGL, EPD_noChange);
}

} // namespace

OFCondition encode(DcmFileFormat& file, const std::function<bool(const char*, std::size_t)>& write)
{
  const std::unique_ptr<char[]> buffer(new char[kBlock]); // not cleared for each file
  DcmOutputBufferStream stream(buffer.get(), kBlock);
  DcmWriteCache cache;
  const auto drain = [&]
  {
    void* bytes = nullptr;
    offile_off_t length = 0;
    stream.flushBuffer(bytes, length);
    return write(static_cast<const char*>(bytes), static_cast<std::size_t>(length)) ? EC_Normal : systemFailure();
  };
  const E_TransferSyntax syntax = file.getDataset()->getOriginalXfer();
  if (syntax == EXS_Unknown || syntax == EXS_BigEndianImplicit)
    return EC_IllegalCall;
  OFCondition status = renewMeta(file, syntax);
  if (status.bad())
    return status;
  file.transferInit();
  status = EC_StreamNotifyClient;
  while (status == EC_StreamNotifyClient)
  {
    status = writeOn(file, syntax, stream, cache);
    if (status.good() || status == EC_StreamNotifyClient)
      if (const OFCondition drained = drain(); drained.bad())
        status = drained;
  }
  file.transferEnd();
  while (status.good() && !stream.isFlushed())
  {
    stream.flush();
    status = drain();
  }
  return status;
}

SaveTarget::SaveTarget(std::string where) : path(std::move(where))
{
  exists = lstat(path.c_str(), &present) == 0;
  error = exists || errno == ENOENT ? 0 : errno;
}

OFCondition saveFile(DcmFileFormat& file, const SaveTarget& target, const struct stat* source)
{
  OFCondition status = checkReplaceable(target);
  if (status.bad())
    return status;
  base::PartFile part(target.path);
  if (!part.good())
    return systemFailure();
  std::size_t preamble = source ? DCM_PreambleLen : 0; // bytes of it that are to come
  const auto write = [&](const char* bytes, std::size_t length)
  {
    const std::size_t zeros = std::min(preamble, length);
    preamble -= zeros;
    return part.write(std::string(zeros, '\0').data(), zeros) && part.write(bytes + zeros, length - zeros);
  };
  status = encode(file, write);
  if (status.bad())
    return status;
  if (!part.permit(target.exists ? &target.present : nullptr, source))
    return systemFailure();
  if (keepsTarget(target, part))
    return EC_Normal;
  return (!isFile(target) || part.sync()) && part.keep() ? EC_Normal : systemFailure();
}

} // namespace tarn::dicom
