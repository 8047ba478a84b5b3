#pragma once

#include <stdexcept>
#include <string>

namespace tarn::imutils
{

/// A failure of the platform layer; `what()` is one line for the log.
class IMException : public std::runtime_error
{
public:
  using std::runtime_error::runtime_error;
};

/// A lock or a wait that did not succeed in time.
class IMTimeoutException : public IMException
{
public:
  using IMException::IMException;
};

} // namespace tarn::imutils
