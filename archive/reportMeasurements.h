#pragma once

#include <string>

namespace tarn::archive
{

/// Writes a row for each annotation of the inputs in the journals of `out`, and tells of inputs that cannot be read any
/// more. Images are looked for in the data repository and in `imagesFolder`, which may be empty. Returns the exit
/// status.
int reportMeasurements(const std::string& out, const std::string& imagesFolder);

} // namespace tarn::archive
