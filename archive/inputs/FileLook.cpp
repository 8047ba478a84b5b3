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
  if (!fd && errno != ENXIO)
    fail(errno == ENOENT || errno == ENOTDIR || errno == ELOOP ? Kind::missing : Kind::unreadable, errno);
  else if (fd && fstat(fd.get(), &status) != 0)
    fail(Kind::unreadable, errno);
  else if (!fd || !S_ISREG(status.st_mode)) // no socket can be opened, and no device that is not there
    found = Kind::other;
  else
    seen = versionOf(status);
  if (found == Kind::unreadable)
    seen = versionOf(path);
}

void FileLook::fail(Kind kind, int error)
{
  found = kind;
  trouble = base::FileError(error).what();
}

std::optional<bool> FileLook::mayBeState()
{
  std::array<char, dicom::kFirstBytes> bytes; // not cleared for each file
  const std::ptrdiff_t got = base::readUpTo(fd, bytes.data(), bytes.size());
  if (got < 0)
  {
    fail(Kind::unreadable, errno);
    return std::nullopt;
  }
  const std::optional<std::string> sopClass = dicom::sopClassIn({bytes.data(), static_cast<std::size_t>(got)});
  return sopClass && (sopClass->empty() || base::startsWith(*sopClass, kStateClass));
}

} // namespace tarn::archive
