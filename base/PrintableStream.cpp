// A stream that shows what would act on a terminal.
#include "base/PrintableStream.h"

#include "base/text.h"

#include <exception>
#include <string_view>

namespace tarn::base
{

PrintableStream::Lines::~Lines()
{
  try
  {
    pass(held.size());
  }
  catch (const std::exception&)
  {
    // There is no memory to show it with.
  }
}

PrintableStream::Lines::int_type PrintableStream::Lines::overflow(int_type character)
{
  const char text = traits_type::to_char_type(character);
  if (traits_type::eq_int_type(character, traits_type::eof()) || xsputn(&text, 1) == 1)
    return traits_type::not_eof(character);
  return traits_type::eof();
}

std::streamsize PrintableStream::Lines::xsputn(const char* text, std::streamsize length)
{
  const std::string_view added(text, static_cast<std::size_t>(length));
  held += added;
  const std::size_t end = added.rfind('\n');
  return end == std::string_view::npos || pass(held.size() - added.size() + end + 1) ? length : 0;
}

int PrintableStream::Lines::sync()
{
  return pass(held.size()) && target.flush() ? 0 : -1;
}

/// Passes the first `length` bytes on.
bool PrintableStream::Lines::pass(std::size_t length)
{
  target << printable(held.substr(0, length), "\n\t");
  held.erase(0, length);
  return target.good();
}

} // namespace tarn::base
