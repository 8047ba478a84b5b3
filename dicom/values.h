#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <string>

namespace tarn::dicom
{

/// Reads the bytes of `element` as they stand in the file, whatever its VR says; numbers and words come in little
/// endian. An element without a value has none. Must come before any typed access, since the toolkit's strips blanks in
/// place.
OFCondition readBytes(DcmElement& element, std::string& bytes);

/// Reads the element `tag` of `item` up to the first NUL, without the blanks at both ends, however many: old files pad
/// more than the standard asks for (PS3.5 6.2). A missing element and an empty value are errors. `text` is empty after
/// an error.
OFCondition readText(DcmItem& item, const DcmTagKey& tag, std::string& text);

/// Reads as readText does a UID that is to serve as a key: more than one value is an error.
OFCondition readUid(DcmItem& item, const DcmTagKey& tag, std::string& uid);

} // namespace tarn::dicom
