#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/ofstd/oftypes.h>

#include <cstddef>

class DcmDataDictionary;

namespace tarn::dicom
{

/// Gives `dictionary`, which must be the toolkit's own, the attributes that are used without being read first, and from
/// then on each other one when a TagWatch sees its tag.
void supplyOnDemand(DcmDataDictionary& dictionary);

/// Gives `dictionary` every attribute, at once.
void supplyAll(DcmDataDictionary& dictionary);

/// Sees the bytes that the toolkit's parser is given, before it looks at them, and supplies the attributes whose tags
/// they may hold: a tag is four consecutive bytes of the stream (PS3.5 7.1), at any offset and in either byte order.
/// Values that look like tags only supply more than is needed; long ones need not be shown. Does nothing where no
/// supply on demand goes on.
class TagWatch
{
public:
  /// `length` bytes that follow those of the last call.
  void see(const void* bytes, std::size_t length);

private:
  Uint32 window = 0; ///< the last four bytes, the first of them highest
};

} // namespace tarn::dicom
