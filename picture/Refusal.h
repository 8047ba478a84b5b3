#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace tarn::picture
{

/// Why a state has no picture. `what()` is one line for people.
struct Refusal : std::runtime_error
{
  Refusal(std::string code, const std::string& reason) : std::runtime_error(reason), code(std::move(code)) {}

  std::string code; ///< of docs/formats.md: "image-not-found"
};

} // namespace tarn::picture
