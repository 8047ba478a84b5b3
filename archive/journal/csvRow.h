#pragma once

#include "archive/journal/Record.h"

#include <string>

namespace tarn::archive
{

/// The names of the columns of a report, and a record in them (docs/formats.md, "Report"; RFC 4180).
extern const char kCsvHeader[];
std::string csvRow(const Record& record);

/// The codes of the record's reasons, separated by blanks, one as often as it stands there.
std::string codesOf(const Record& record);

} // namespace tarn::archive
