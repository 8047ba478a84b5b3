// The destinations of messages and debug lines, one pair a thread.
#include "base/Console.h"

#include <iostream>

namespace tarn
{
namespace
{

thread_local std::ostream* currentOut = nullptr;
thread_local std::ostream* currentError = nullptr;

} // namespace

std::ostream& consoleOut()
{
  return currentOut ? *currentOut : std::cout;
}

std::ostream& consoleError()
{
  return currentError ? *currentError : std::cerr;
}

ConsoleScope::ConsoleScope(std::ostream& out, std::ostream& error)
  : previousOut(currentOut), previousError(currentError)
{
  currentOut = &out;
  currentError = &error;
}

ConsoleScope::~ConsoleScope()
{
  currentOut = previousOut;
  currentError = previousError;
}

} // namespace tarn
