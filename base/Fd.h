#pragma once

#include <cstddef>
#include <string_view>
#include <utility>

namespace tarn::base
{

/// Owns an open file descriptor, or none.
class Fd
{
public:
  Fd() = default;
  explicit Fd(int descriptor) : descriptor(descriptor) {}
  Fd(Fd&& other) noexcept : descriptor(other.release()) {}
  Fd& operator=(Fd&& other) noexcept;
  ~Fd();

  explicit operator bool() const { return descriptor >= 0; }
  int get() const { return descriptor; }
  /// Returns the descriptor and owns it no longer.
  int release() { return std::exchange(descriptor, -1); }
  /// Closes the descriptor; false, with the reason in errno, when the system reports a failure.
  [[nodiscard]] bool close();

private:
  int descriptor = -1;
};

/// Reads up to `length` bytes, fewer only at the end of the file, into `buffer`. Returns their number, -1 with the
/// reason in errno when a read fails.
[[nodiscard]] std::ptrdiff_t readUpTo(const Fd& fd, char* buffer, std::size_t length);

/// Writes all of `bytes`. Returns false, with the reason in errno, when a write fails.
[[nodiscard]] bool writeAll(const Fd& fd, std::string_view bytes);

} // namespace tarn::base
