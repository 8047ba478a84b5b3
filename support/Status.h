#pragma once

#include <array>
#include <cstddef>
#include <string>

namespace tarn::utils
{

/// How a look-up of meta data ended.
enum StatusEnum : int
{
  STATUS_OK = 0,
  STATUS_OK_NEW = 1,
  STATUS_OK_COPIED = 2,
  STATUS_OK_TEMP = 3,
  STATUS_MISSING = 4,
  STATUS_REPOSITORY_ERROR = 5,
  STATUS_ERROR = 6
};

/// A StatusEnum that tells success from failure and knows its name.
class Status
{
public:
  // cppcheck-suppress noExplicitConstructor ; operations return the bare value
  Status(const StatusEnum& status) : status(status) {}

  /// Whether it is a success: a value below STATUS_MISSING.
  explicit operator bool() const { return status < STATUS_MISSING; }
  /// The value's name: "OK", "OK_NEW", ...; "UNRECOGNIZED" for a value that has none.
  operator std::string() const
  {
    constexpr std::array kNames{"OK", "OK_NEW", "OK_COPIED", "OK_TEMP", "MISSING", "REPOSITORY_ERROR", "ERROR"};
    const auto index = static_cast<std::size_t>(status); // a negative value is beyond the end as well
    return index < kNames.size() ? kNames.at(index) : "UNRECOGNIZED";
  }
  StatusEnum value() const { return status; }

private:
  StatusEnum status;
};

} // namespace tarn::utils
