#include "base/Console.h"

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

std::string printable(const std::string& text)
{
  constexpr char kHex[] = "0123456789ABCDEF";
  std::string shown;
  shown.reserve(text.size());
  for (const char c : text)
    if (isControl(c))
      shown.append("\\x").append(1, kHex[static_cast<unsigned char>(c) >> 4U]).append(1, kHex[c & 0xF]);
    else
      shown += c;
  return shown;
}

/// The whole line is one write, and one that failed does not silence those after it.
void reportLine(const std::string& line)
{
  std::ostream& stream = consoleError();
  stream.clear();
  stream << printable(line) + '\n' << std::flush;
}

} // namespace tarn
