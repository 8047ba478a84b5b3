// The names of the results of look-ups.
#include "support/Status.h"

#include <array>
#include <cstddef>

namespace tarn::utils
{
namespace
{

constexpr std::array kNames{"OK", "OK_NEW", "OK_COPIED", "OK_TEMP", "MISSING", "REPOSITORY_ERROR", "ERROR"};

} // namespace

Status::operator std::string() const
{
  const auto index = static_cast<std::size_t>(status); // a negative value is beyond the end as well
  return index < kNames.size() ? kNames.at(index) : "UNRECOGNIZED";
}

} // namespace tarn::utils
