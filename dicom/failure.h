#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcerror.h>

#include <string>

namespace tarn::dicom
{

/// A bad condition of this program's own with a text of its own.
inline OFCondition failure(const std::string& text)
{
  return {OFM_dcmdata, 0x7000, OF_error, text.c_str()};
}

} // namespace tarn::dicom
