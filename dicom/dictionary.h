#pragma once

#include <string>

namespace tarn::dicom
{

/// Gives the toolkit its data dictionary: the table that was compiled in from the installed text dictionary, and, over
/// it, the files that DCMDICTPATH names (separated by ':'). Where none is named, only what the program itself writes is
/// added now, and the rest as loadFile comes upon it: whoever reads in another way calls supplyAll(). Call once at
/// process start, before any other use of the toolkit and while there is one thread. Returns false with one line in
/// `error` when a named file cannot be read or understood; the toolkit itself would go on silently and write wrong
/// files.
[[nodiscard]] bool setUpDictionary(std::string& error);

} // namespace tarn::dicom
