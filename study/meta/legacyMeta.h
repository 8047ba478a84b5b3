#pragma once

#include "support/Logger.h"
#include "study/meta/MetaConn.h"
#include "support/Status.h"

#include <filesystem>
#include <string>

namespace tarn::utils
{

/// Whether a study's directory in the data repository holds meta files beside the objects.
bool isLegacyMeta(const std::filesystem::path& directory);

/// Fills the meta directory `metaDir`, which need not exist, from the legacy directory of the study. The copy is made
/// beside it and renamed; files that it has already stay, and the store state is the last to appear. STATUS_OK_COPIED,
/// STATUS_REPOSITORY_ERROR or STATUS_ERROR; a failure is one line.
[[nodiscard]] Status copyLegacyMeta(const std::filesystem::path& legacy, const std::string& study,
                                    const std::filesystem::path& metaDir, const MetaConn& conn, Logger& logger);

} // namespace tarn::utils
