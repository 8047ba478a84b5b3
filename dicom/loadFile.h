#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <string>

#include <sys/stat.h>

namespace tarn::dicom
{

/// Where values that the parser passes over stay.
enum class LongValues
{
  inMemory,
  inFile
};

/// Loads a DICOM file as DcmFileFormat::loadFile does (transfer syntax found out, group lengths unchanged), but reads
/// it whole and with the result of every read checked: values that the object copies later come from memory. Refuses
/// what is no regular file, sequences that are nested so deeply that reading them would use up the stack, and what is
/// over the limits that the environment gives; the condition's text says which. Throws as ReadLimits::fromEnvironment
/// does.
///
/// Completes the process's data dictionary (dictionary.h) unless the file is all explicit VR.
///
/// With LongValues::inFile, values of more than 4096 bytes stay in the file, from where they are read when they are
/// used: the file may have any size. The data dictionary is always completed.
///
/// `status` gets, unless it is null, what the system said of the file when it was opened, with a mode that stands
/// without its access control list (base::RegularFile::withoutList()).
OFCondition loadFile(DcmFileFormat& file, const std::string& path, LongValues longValues = LongValues::inMemory,
                     struct stat* status = nullptr);

} // namespace tarn::dicom
