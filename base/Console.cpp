// The destinations of messages and debug lines, one pair a thread.
#include "base/Console.h"

#include <iostream>
#include <utility>

namespace tarn
{
namespace
{

thread_local std::ostream* currentOut = &std::cout;
thread_local std::ostream* currentError = &std::cerr;

} // namespace

std::ostream& consoleOut()
{
  return *currentOut;
}

std::ostream& consoleError()
{
  return *currentError;
}

ConsoleScope::ConsoleScope(std::ostream& out, std::ostream& error)
  : previousOut(std::exchange(currentOut, &out)), previousError(std::exchange(currentError, &error))
{
}

ConsoleScope::~ConsoleScope()
{
  currentOut = previousOut;
  currentError = previousError;
}

} // namespace tarn
