#pragma once

#include "archive/FindingWriter.h"

#include <string>
#include <vector>

namespace tarn::archive
{

/// Holds the rules of conformance against each presentation state among `paths` and below. What the rules ask of an
/// image's size is answered where its file lies in the data repository or in `imagesFolder`; where that is empty, they
/// are held without. Writes the findings to consoleOut(). Returns the exit status: 1 for an error, with `notesFail` for
/// a note too, and for a named file that is no presentation state or cannot be loaded.
int checkStates(const std::vector<std::string>& paths, FindingForm form, bool notesFail,
                const std::string& imagesFolder);

/// Writes the table of the rules to consoleOut(), as it stands in docs/conformance.md. Returns the exit status.
int listRules();

} // namespace tarn::archive
