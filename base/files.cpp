// The one way in which files are read: whole, and with every result checked.
#include "base/files.h"

#include "base/AccessList.h"
#include "base/permissions.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <libgen.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarn::base
{
namespace
{

void copyContent(const RegularFile& source, const Fd& target)
{
  constexpr std::uint64_t kBlock = std::uint64_t{1} << 20U;
  std::string block;
  for (std::uint64_t done = 0; done < source.size; done += block.size())
  {
    block.resize(std::min(kBlock, source.size - done));
    source.read(done, block.data(), block.size());
    if (!writeAll(target, block))
      throw FileError(errno);
  }
}

bool permitCopy(const Fd& copy, const std::string& path, const RegularFile& source)
{
  if (handsDown(source.status))
    return permitLike(copy, source.status, source.accessList());
  const struct stat plain = source.withoutList();
  return permitAsNew(copy, path, &plain);
}

} // namespace

FileError::FileError(int code) : FileError(std::generic_category().message(code), code) {}

/// Reads to the end: the size of what the system makes up, as below /proc, is 0.
std::optional<std::string> fileContent(const std::string& path)
{
  const Fd fd(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!fd && (errno == ENOENT || errno == ENOTDIR))
    return std::nullopt;
  struct stat status = {};
  if (!fd || fstat(fd.get(), &status) != 0)
    throw FileError(errno);
  if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) // of a folder the read fails
    throw FileError("Not a regular file", 0);
  std::string content;
  std::array<char, 4096> block{};
  std::ptrdiff_t got = 1;
  while (got > 0)
  {
    got = readUpTo(fd, block.data(), block.size());
    content.append(block.data(), static_cast<std::size_t>(std::max<std::ptrdiff_t>(got, 0)));
  }
  if (got < 0)
    throw FileError(errno);
  return content;
}

RegularFile::RegularFile(const std::string& path) : fd(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC))
{
  if (!fd || fstat(fd.get(), &status) != 0)
    throw FileError(errno);
  if (!S_ISREG(status.st_mode))
    throw FileError("Not a regular file", 0);
  size = static_cast<std::uint64_t>(status.st_size);
}

std::string RegularFile::content() const
{
  std::string bytes(size, '\0');
  read(0, bytes.data(), bytes.size());
  return bytes;
}

std::string RegularFile::accessList() const
{
  auto list = accessListOf(fd);
  if (!list)
    throw FileError(errno);
  return std::move(*list);
}

struct stat RegularFile::withoutList() const
{
  struct stat plain = status;
  plain.st_mode = base::withoutList(status.st_mode, accessList());
  return plain;
}

void RegularFile::read(std::uint64_t offset, char* buffer, std::size_t length) const
{
  while (length > 0)
  {
    const ssize_t got = pread(fd.get(), buffer, length, static_cast<off_t>(offset));
    if (got == 0)
      throw FileError("The file became shorter while it was read", 0);
    if (got < 0 && errno != EINTR)
      throw FileError(errno);
    const auto part = static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    buffer += part;
    offset += part;
    length -= part;
  }
}

Fd emptyFile(const std::string& path)
{
  constexpr int kFlags = O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  Fd fd(open(path.c_str(), kFlags, 0666));
  struct stat status = {};
  if (!fd || fstat(fd.get(), &status) != 0)
    return {};
  errno = S_ISREG(status.st_mode) ? EMLINK : EINVAL;
  const bool isPlain = S_ISREG(status.st_mode) && status.st_nlink == 1;
  return isPlain && ftruncate(fd.get(), 0) == 0 ? std::move(fd) : Fd();
}

void copyFile(const std::string& from, const std::string& to, Durable durable)
{
  const RegularFile source(from);
  Fd target(open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!target)
    throw FileError(errno);
  try
  {
    copyContent(source, target);
    if (!permitCopy(target, to, source) || (durable == Durable::now && fsync(target.get()) != 0) || !target.close())
      throw FileError(errno);
  }
  catch (...)
  {
    unlink(to.c_str());
    throw;
  }
}

std::string baseName(const std::string& path)
{
  std::string changed = path;
  return basename(changed.data());
}

bool exists(const std::string& path)
{
  std::error_code error;
  const auto status = std::filesystem::symlink_status(path, error);
  if (!status_known(status))
    throw FileError(error.value());
  return std::filesystem::exists(status);
}

bool syncFolder(const std::string& folder)
{
  const Fd fd(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return fd && fsync(fd.get()) == 0;
}

} // namespace tarn::base
