#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <string>

namespace tarn::dicom
{

/// The bytes of `element` as they stand in the file, whatever its VR says: numbers and words come in little endian.
/// Empty for an element without a value. Call it before any typed access: the toolkit's strips blanks in place.
OFCondition readBytes(DcmElement& element, std::string& bytes);

/// The bytes of the element `tag` of `item` up to the first NUL, less the blanks at both ends, however many: old files
/// pad more than the standard asks for (PS3.5 6.2). A missing element and an empty value are errors; `text` is empty
/// after an error.
OFCondition readText(DcmItem& item, const DcmTagKey& tag, std::string& text);

/// As readText, and more than one value is an error: a UID element that can serve as a key.
OFCondition readUid(DcmItem& item, const DcmTagKey& tag, std::string& uid);

/// A condition of this program with a text of its own.
OFCondition failure(const std::string& text);

} // namespace tarn::dicom
