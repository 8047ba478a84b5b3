#pragma once

#include <stdexcept>

namespace tarn::db
{

/// A failure of the database; `what()` is one line: what was tried and the database library's own text. It never
/// holds a password.
class DBException : public std::runtime_error
{
public:
  using std::runtime_error::runtime_error;
};

} // namespace tarn::db
