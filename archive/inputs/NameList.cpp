#include "archive/inputs/NameList.h"

#include "base/files.h"

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarn::archive
{
namespace
{

constexpr std::size_t kBlock = 65536;

} // namespace

NameList::NameList(const std::string& file, char terminator)
  : file(file), fd(file == "-" ? dup(STDIN_FILENO) : open(file.c_str(), O_RDONLY | O_CLOEXEC)), terminator(terminator)
{
  if (!fd)
    fail();
}

void NameList::fail() const
{
  throw base::FileError(file + " cannot be read: " + base::FileError(errno).what(), errno);
}

std::uint64_t NameList::count() const
{
  struct stat status = {};
  std::uint64_t names = 0;
  std::vector<char> bytes(kBlock);
  off_t place = lseek(fd.get(), 0, SEEK_CUR);
  if (place < 0 || fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode))
    return 0;
  for (ssize_t got = 0; (got = pread(fd.get(), bytes.data(), bytes.size(), place)) > 0; place += got)
    names += static_cast<std::uint64_t>(std::count(bytes.begin(), bytes.begin() + got, terminator));
  return names;
}

bool NameList::next(std::string& name)
{
  std::size_t end = block.find(terminator, taken);
  while (end == std::string::npos)
  {
    block.erase(0, taken);
    taken = 0;
    const std::size_t held = block.size();
    block.resize(held + kBlock);
    const ssize_t got = read(fd.get(), block.data() + held, kBlock);
    if (got < 0 && errno != EINTR)
      fail();
    block.resize(held + (got > 0 ? static_cast<std::size_t>(got) : 0));
    if (got == 0)
    {
      name = std::exchange(block, {});
      return !name.empty();
    }
    end = block.find(terminator, held);
  }
  name.assign(block, taken, end - taken);
  taken = end + 1;
  return true;
}

} // namespace tarn::archive
