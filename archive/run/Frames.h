#pragma once

#include "base/Fd.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tarn::archive
{

/// A message between a run and its processes: a letter that says what it is, and bytes.
struct Frame
{
  char type = '\0';
  std::string text;
};

/// The bytes of a frame on a pipe.
std::string encoded(char type, std::string_view text);

/// Writes a frame, waiting where the pipe is full. False when nobody reads any more.
[[nodiscard]] bool writeFrame(const base::Fd& pipe, char type, std::string_view text);

/// Puts frames together from what comes out of a pipe.
class FrameReader
{
public:
  explicit FrameReader(base::Fd pipe) : pipe(std::move(pipe)) {}

  const base::Fd& fd() const { return pipe; }
  /// Waits until there is something, and takes it in. False once the other side has closed the pipe.
  [[nodiscard]] bool receive();
  bool hasNext() const;
  /// The next whole frame; nothing when there is none yet.
  std::optional<Frame> next();

private:
  std::optional<std::size_t> wholeLength() const;

  base::Fd pipe;
  std::string bytes;
  std::size_t taken = 0; ///< of `bytes`
};

/// A pipe whose ends are closed when a program is executed.
struct Pipe
{
  /// Throws std::system_error.
  Pipe();

  base::Fd readEnd;
  base::Fd writeEnd;
};

} // namespace tarn::archive
