// Messages on pipes: four bytes of length in the machine's order, a letter, and the text.
#include "archive/run/Frames.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace tarn::archive
{
namespace
{

constexpr std::size_t kHeader = sizeof(std::uint32_t) + 1;
constexpr std::size_t kBlock = 65536;
constexpr int kCapacity = 1 << 20; // bytes; what a process may be ahead while the other waits for the disk

} // namespace

std::string encoded(char type, std::string_view text)
{
  const auto length = static_cast<std::uint32_t>(text.size());
  std::string bytes(kHeader, type);
  std::memcpy(bytes.data(), &length, sizeof length);
  return bytes.append(text);
}

bool writeFrame(const base::Fd& pipe, char type, std::string_view text)
{
  return base::writeAll(pipe, encoded(type, text));
}

bool FrameReader::receive()
{
  bytes.erase(0, taken);
  taken = 0;
  std::array<char, kBlock> block; // not cleared for each call
  ssize_t got = 0;
  do
    got = read(pipe.get(), block.data(), block.size());
  while (got < 0 && errno == EINTR);
  if (got > 0)
    bytes.append(block.data(), static_cast<std::size_t>(got));
  return got > 0;
}

/// The length of the text of the next frame; nothing where the frame is not whole.
std::optional<std::size_t> FrameReader::wholeLength() const
{
  std::uint32_t length = 0;
  if (bytes.size() - taken < kHeader)
    return std::nullopt;
  std::memcpy(&length, bytes.data() + taken, sizeof length);
  return bytes.size() - taken - kHeader < length ? std::nullopt : std::make_optional<std::size_t>(length);
}

bool FrameReader::hasNext() const
{
  return wholeLength().has_value();
}

std::optional<Frame> FrameReader::next()
{
  const std::optional<std::size_t> length = wholeLength();
  if (!length)
    return std::nullopt;
  Frame frame{bytes[taken + kHeader - 1], bytes.substr(taken + kHeader, *length)};
  taken += kHeader + *length;
  return frame;
}

Pipe::Pipe()
{
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0)
    throw std::system_error(errno, std::generic_category(), "cannot make a pipe");
  readEnd = base::Fd(ends[0]);
  writeEnd = base::Fd(ends[1]);
  static_cast<void>(fcntl(readEnd.get(), F_SETPIPE_SZ, kCapacity)); // the usual size will do
}

} // namespace tarn::archive
