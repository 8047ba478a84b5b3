#include "Console.h"

#include <algorithm>
#include <iostream>

namespace tarn
{
namespace
{

thread_local std::ostream* currentOut = nullptr;
thread_local std::ostream* currentError = nullptr;

bool isControl(char c)
{
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7f;
}

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

std::string printable(std::string text)
{
  std::replace_if(text.begin(), text.end(), isControl, '?');
  return text;
}

void reportLine(const std::string& line)
{
  consoleError() << printable(line) << std::endl;
}

} // namespace tarn
