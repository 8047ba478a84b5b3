#pragma once

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

/// A StatusEnum with its name and its verdict.
class Status
{
public:
  // cppcheck-suppress noExplicitConstructor ; operations return the bare value
  Status(const StatusEnum& result) : status(result) {}

  /// Success: below STATUS_MISSING.
  explicit operator bool() const { return status < STATUS_MISSING; }
  /// "OK", "OK_NEW", ...; "UNRECOGNIZED" for a value that has no name.
  explicit operator std::string() const;
  StatusEnum value() const { return status; }

private:
  StatusEnum status;
};

} // namespace tarn::utils
