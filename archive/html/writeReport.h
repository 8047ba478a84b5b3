#pragma once

#include "archive/html/PictureChoice.h"
#include "archive/journal/JournalIndex.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarn::archive
{

struct HtmlRequest
{
  std::string out;    ///< the output folder, absolute
  std::string folder; ///< of the report, absolute
  PictureChoice pictures;
  std::optional<std::uint64_t> seed; ///< of the sample; drawn where it is missing
  std::string imagesFolder;          ///< where images are looked for besides the data repository; may be empty
  bool anonymous = false;
};

/// Writes a report that opens in a browser. Throws ReportError where the folder cannot be used or written, JournalError
/// where a journal cannot be read.
void writeReport(const HtmlRequest& request, const std::vector<JournalIndex>& journals);

} // namespace tarn::archive
