// What a file is, before it is loaded.
#include "archive/inputs/FileLook.h"

#include "base/files.h"
#include "base/text.h"
#include "dicom/firstBytes.h"

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

namespace tarn::archive
{
namespace
{

constexpr char kStateClass[] = "1.2.840.10008.5.1.4.1.1.11.1"; ///< Grayscale Softcopy Presentation State Storage

} // namespace

FileLook::FileLook(const std::string& path) : fd(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC))
{
  struct stat status = {};
  if (fd && fstat(fd.get(), &status) == 0)
  {
    found = S_ISREG(status.st_mode) ? Kind::file : Kind::other;
    seen = versionOf(status);
  }
  else
    fail(path, errno);
}

void FileLook::fail(const std::string& path, int error)
{
  const bool isMissing = error == ENOENT || error == ENOTDIR || error == ELOOP;
  const bool isSocket = error == ENXIO; // or a device that is not there
  found = isMissing ? Kind::missing : isSocket ? Kind::other : Kind::unreadable;
  trouble = isSocket ? "" : base::FileError(error).what();
  seen = versionOf(path);
}

std::optional<bool> FileLook::mayBeState()
{
  std::array<char, dicom::kFirstBytes> bytes; // not cleared for each file
  const std::ptrdiff_t got = base::readUpTo(fd, bytes.data(), bytes.size());
  if (got < 0)
  {
    found = Kind::unreadable;
    trouble = base::FileError(errno).what();
    return std::nullopt;
  }
  const std::optional<std::string> sopClass = dicom::sopClassIn({bytes.data(), static_cast<std::size_t>(got)});
  return sopClass && (sopClass->empty() || base::startsWith(*sopClass, kStateClass));
}

} // namespace tarn::archive
