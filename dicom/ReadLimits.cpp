// Limits from the environment.
#include "dicom/ReadLimits.h"

#include "base/text.h"
#include "base/environmentValue.h"

#include <charconv>
#include <stdexcept>
#include <string>

namespace tarn::dicom
{
namespace
{

constexpr std::uint64_t kMebibyte = 1U << 20U;

std::uint64_t limitFrom(const char* variable, std::uint64_t usual)
{
  const std::string text = base::environmentValue(variable);
  if (text.empty())
    return usual;
  std::uint64_t limit = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, limit);
  if (error != std::errc() || stop != end || limit == 0)
    throw std::runtime_error(base::joined(variable, " is no whole number above 0: ", text));
  return limit;
}

} // namespace

ReadLimits ReadLimits::fromEnvironment()
{
  return {limitFrom("TARN_MAX_FILE_BYTES", 512 * kMebibyte), limitFrom("TARN_MAX_INFLATED_BYTES", 512 * kMebibyte),
          limitFrom("TARN_MAX_ELEMENTS", 1000000)};
}

} // namespace tarn::dicom
