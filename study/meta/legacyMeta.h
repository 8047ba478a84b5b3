#pragma once

#include "db/DBConnector.h"
#include "support/Logger.h"
#include "support/Status.h"

#include <filesystem>
#include <string>

namespace tarn::study
{

/// Whether a study's directory in the data repository holds meta files beside the objects. Throws filesystem_error.
bool isLegacyMeta(const std::filesystem::path& directory);

/// Fills the meta directory `metaDir`, which need not exist, from the legacy directory of the study. The copy is made
/// beside it and renamed; files that it has already stay, and the store state appears last. Returns STATUS_OK_COPIED,
/// STATUS_REPOSITORY_ERROR or STATUS_ERROR, and logs a failure.
[[nodiscard]] utils::Status copyLegacyMeta(const std::filesystem::path& legacy, const std::string& studyUid,
                                           const std::filesystem::path& metaDir, db::DBConnector* db,
                                           utils::Logger& logger);

} // namespace tarn::study
