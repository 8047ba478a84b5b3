#pragma once

#include "archive/journal/Record.h"

#include <string>

namespace tarn::archive
{

/// Records and outputs as they go through a pipe to the run: any bytes, in the machine's own order.
std::string packed(const Record& record);
std::string packed(const Output& output);
/// These throw std::exception for what packed() did not make.
Record unpackedRecord(const std::string& bytes);
Output unpackedOutput(const std::string& bytes);

} // namespace tarn::archive
