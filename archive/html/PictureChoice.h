#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tarn::archive
{

/// Of which inputs a report has pictures.
struct PictureChoice
{
  bool all = false;
  bool failures = true;     ///< those that were not converted whole
  std::uint64_t sample = 0; ///< so many of those that have outputs, drawn at random
  std::string text = "failures";
};

/// The choice "failures", "sample:N", "all", "none", or several with commas; nothing where the text is none.
std::optional<PictureChoice> pictureChoiceFrom(const std::string& text);

} // namespace tarn::archive
