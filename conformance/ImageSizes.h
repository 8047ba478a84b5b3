#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tarn::conformance
{

/// What an image is like (PS3.3 C.7.6.3 and C.7.6.6).
struct ImageSize
{
  std::uint32_t columns = 0; ///< pixels; 0: not known
  std::uint32_t rows = 0;
  std::uint32_t frames = 0;
};

/// Where the size of an image is looked up that a presentation state refers to.
class ImageSizes
{
public:
  virtual ~ImageSizes() = default;
  /// Nothing for an image that is not known.
  virtual std::optional<ImageSize> find(const std::string& sopInstanceUid) = 0;
};

} // namespace tarn::conformance
