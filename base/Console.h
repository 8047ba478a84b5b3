#pragma once

#include <locale>
#include <ostream>
#include <sstream>
#include <string>

namespace tarn
{

/// Where this thread's conversion writes its one-line messages (standard error by default) and its debug lines
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

/// `text` with every control character as `\xNN` in hexadecimal: what comes out of a file never forges a second line.
std::string printable(const std::string& text);

/// The parts as one text, flags as the words true and false; whatever locale and format flags its process or its
/// streams chose.
template <class... Parts>
std::string joined(const Parts&... parts)
{
  std::ostringstream text;
  text.exceptions(std::ios::badbit); // out of memory: no part of a text is taken for the whole
  text.imbue(std::locale::classic());
  text << std::boolalpha;
  (text << ... << parts);
  return text.str();
}

void reportLine(const std::string& line);

/// Writes the parts as one message line to consoleError().
template <class... Parts>
void report(const Parts&... parts)
{
  reportLine(joined(parts...));
}

/// Writes the parts as one debug line to consoleOut().
template <class... Parts>
void trace(const Parts&... parts)
{
  consoleOut() << joined(parts...) << '\n';
}

} // namespace tarn
