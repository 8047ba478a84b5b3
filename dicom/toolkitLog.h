#pragma once

namespace tarn::dicom
{

/// Sends what the DICOM toolkit logs ("W: ", "E: " lines on standard error by default) to the logger named "DCMTK", a
/// thousand lines at most. For programs, at their start; a library leaves its host's settings alone.
void redirectToolkitLog();

} // namespace tarn::dicom
