#pragma once

#include <string>

namespace im
{

/// URL decoding of the object meta file: '+' to a blank, '%' and the two characters after it to the byte that they
/// give read as hexadecimal, as far as they are hexadecimal digits (as strtoul reads them: "%4x" is 0x04, "%zz" is 0).
/// A '%' with fewer than two characters after it ends the text there.
std::string urlDecode(const std::string& text);

/// URL decoding of the plug-in state, in place: '+' to a blank, '%' and two hexadecimal digits to one byte; a '%'
/// whose two followers are not both hexadecimal digits stays. A '%' with fewer than two characters after it, and a
/// decoded NUL, end the text.
void URLDecode(std::string& text);

} // namespace im
