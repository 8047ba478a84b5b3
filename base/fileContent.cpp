#include "base/fileContent.h"

#include "base/IMException.h"

#include <array>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace tarn
{
namespace
{

/// Reads on behind `content`; gives the error of the call that failed, 0 when the end was reached.
int readToEnd(int descriptor, std::string& content)
{
  std::array<char, 4096> block{};
  for (;;)
  {
    const ssize_t got = read(descriptor, block.data(), block.size());
    if (got == 0)
      return 0;
    if (got > 0)
      content.append(block.data(), static_cast<std::size_t>(got));
    else if (errno != EINTR)
      return errno;
  }
}

} // namespace

std::optional<std::string> fileContent(const std::string& path)
{
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0 && (errno == ENOENT || errno == ENOTDIR))
    return std::nullopt;
  std::string content;
  const int error = descriptor < 0 ? errno : readToEnd(descriptor, content);
  if (descriptor >= 0)
    close(descriptor);
  if (error != 0)
    throw imutils::IMException(std::generic_category().message(error));
  return content;
}

} // namespace tarn
