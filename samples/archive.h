#pragma once

#include <filesystem>

namespace samples
{

/// Makes the sample archive below `folder`, the same bytes each time:
/// - `images/STUDY/NAME`: the images, named as the archive names its objects
/// - `states/NAME.dcm`: the presentation states
/// - `objects.tsv`: a heading, then one row of the object table an image, columns separated by tabs
/// Throws std::runtime_error (or its child std::filesystem::filesystem_error).
void writeArchive(const std::filesystem::path& folder);

} // namespace samples
