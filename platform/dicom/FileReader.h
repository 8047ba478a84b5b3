#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <string>

namespace tarn::dicom
{

/// Loads a DICOM file as DcmFileFormat::loadFile does (transfer syntax found out, group lengths unchanged, values over
/// 4096 bytes read on first use), but refuses a file whose sequences are nested so deeply that reading them would use
/// up the stack, and anything that is no regular file.
OFCondition loadFile(DcmFileFormat& file, const std::string& path);

} // namespace tarn::dicom
