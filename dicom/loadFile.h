#pragma once

#include "dicom/ReadLimits.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <string>

namespace tarn::dicom
{

/// Loads a DICOM file as DcmFileFormat::loadFile does (transfer syntax found out, group lengths unchanged, values over
/// 4096 bytes read on first use, from the file that was opened), with the result of every read checked. Refuses what is
/// no regular file, sequences that are nested so deeply that reading them would use up the stack, and what is over
/// `limits`; the condition's text says which.
OFCondition loadFile(DcmFileFormat& file, const std::string& path, const ReadLimits& limits);

/// With the limits that the environment gives; throws as ReadLimits::fromEnvironment does.
OFCondition loadFile(DcmFileFormat& file, const std::string& path);

} // namespace tarn::dicom
