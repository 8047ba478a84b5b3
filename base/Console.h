#pragma once

#include <ostream>

namespace tarn
{

/// Return where this thread's conversion writes its one-line messages (standard error by default) and its debug lines
/// (standard output by default). A program that converts many objects puts a ConsoleScope around each.
std::ostream& consoleError();
std::ostream& consoleOut();

/// Redirects this thread's messages and debug lines for as long as it lives; scopes nest.
class ConsoleScope
{
public:
  ConsoleScope(std::ostream& out, std::ostream& error);
  ~ConsoleScope();
  ConsoleScope(const ConsoleScope&) = delete;
  ConsoleScope& operator=(const ConsoleScope&) = delete;

private:
  std::ostream* previousOut;
  std::ostream* previousError;
};

} // namespace tarn
