#pragma once

#include "db/DBConnector.h"
#include "support/Logger.h"

#include <filesystem>
#include <string>

namespace tarn::study
{

/// The mode of a new store state: "Store" where this host's record says so, otherwise "Process". Throws IMException
/// when the record cannot be read.
std::string processMode();

/// The line of the devices (types 'P' and 'C') that studies are forwarded to. A list that cannot be read, such as that
/// of a null `db`, is logged and empty. Throws IMException when TARGETTBL or DEVSERVTBL is not set.
std::string forwardDevicesLine(db::DBConnector* db, utils::Logger& logger);

/// The text of a new store state. Throws what processMode() and forwardDevicesLine() throw.
std::string defaultStoreState(db::DBConnector* db, utils::Logger& logger);

/// Writes `text` over what `file` holds; false when it could not be written.
[[nodiscard]] bool writeStoreState(const std::filesystem::path& file, const std::string& text);

} // namespace tarn::study
