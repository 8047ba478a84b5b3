#pragma once

#include "archive/journal/Record.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tarn::archive
{

/// The lines of a plug-in state that are about one image.
struct PluginPart
{
  std::string instance; ///< SOP Instance UID that an output of them has
  std::vector<std::string> lines;
};

/// A plug-in state as its input holds it now.
struct PluginLines
{
  std::string problem; ///< why there are no lines, a sentence; empty where there are
  std::vector<PluginPart> parts;
  std::uint64_t cut = 0; ///< lines that are too many to be shown
};

/// The lines of the record's input; none where it is not the file any more that the record is of. An input that ended
/// its worker is not opened again.
PluginLines pluginLinesOf(const Record& record);

} // namespace tarn::archive
