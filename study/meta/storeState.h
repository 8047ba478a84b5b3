#pragma once

#include "support/Logger.h"
#include "study/meta/MetaConn.h"

#include <filesystem>
#include <ostream>

namespace tarn::utils
{

/// Writes the line of the devices (types 'P' and 'C') that studies are forwarded to; a list that cannot be read is
/// logged and empty. Throws IMException when TARGETTBL or DEVSERVTBL is not set.
void writeForwardDevices(std::ostream& stream, const MetaConn& conn, Logger& logger);

/// Writes a store state for this host; false when the file could not be written. Throws what writeForwardDevices does.
[[nodiscard]] bool writeDefaultStoreState(const std::filesystem::path& file, const MetaConn& conn, Logger& logger);

} // namespace tarn::utils
