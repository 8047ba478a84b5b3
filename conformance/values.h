#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <optional>
#include <string>
#include <vector>

/// Values of elements of any maker, whatever VR they have.
namespace tarn::conformance
{

/// The values of a text that has several, each without blanks at its ends.
std::vector<std::string> valuesIn(const std::string& text);
/// The values of an element as numbers, of a binary VR or of DS and IS, whose `text` it is; nothing where there are
/// none, or one is no number. FL and FD may be infinite or no numbers.
std::optional<std::vector<double>> numbersIn(DcmElement& element, const std::string& text);
/// The values of the VR FL, or those whose bytes are those of that VR: UN and OF. None where there is another VR or a
/// length that does not fit.
std::vector<Float32> coordinatesIn(DcmElement& element);

/// Whether a text is a code string (PS3.5 6.2, CS); an empty one is.
bool isCode(const std::string& text);
/// Whether a value has the form that PS3.5 6.2 gives the VR; which letters a text has is the character set's matter.
bool fits(const std::string& value, DcmEVR vr);

} // namespace tarn::conformance
