#pragma once

#include "archive/journal/JournalIndex.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarn::archive
{

/// Of which inputs a report has pictures.
struct PictureChoice
{
  bool all = false;
  bool failures = true;              ///< those that were not converted whole
  std::uint64_t sample = 0;          ///< so many of those that have outputs, drawn at random
  std::optional<std::uint64_t> seed; ///< of the sample; drawn where it is missing
  std::string text = "failures";     ///< as it was asked for
};

struct HtmlRequest
{
  std::string out;    ///< the output folder, absolute
  std::string folder; ///< of the report, absolute
  PictureChoice pictures;
  std::string imagesFolder; ///< where images are looked for besides the data repository; may be empty
  bool anonymous = false;
};

/// Writes a report that opens in a browser. Throws ReportError where the folder cannot be used or written, JournalError
/// where a journal cannot be read.
void writeReport(const HtmlRequest& request, const std::vector<JournalIndex>& journals);

} // namespace tarn::archive
