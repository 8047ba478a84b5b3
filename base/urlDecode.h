#pragma once

#include <string>

namespace im
{

/// URL decoding of the object meta file: '+' becomes a blank; '%' and the two characters after it become the byte that
/// they give as a hexadecimal number, as far as they are digits ("%4x" is 0x04, "%zz" is 0). A '%' with fewer than two
/// characters after it ends the text.
std::string urlDecode(const std::string& text);

/// URL decoding of the plug-in state, in place: '+' becomes a blank; '%' and two hexadecimal digits become one byte; a
/// '%' without two digits after it stays. A '%' with fewer than two characters after it ends the text, as does a NUL.
void URLDecode(std::string& text);

} // namespace im
