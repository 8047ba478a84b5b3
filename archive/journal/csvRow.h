#pragma once

#include "archive/journal/Record.h"

#include <string>

namespace tarn::archive
{

/// A text cell (RFC 4180), always quoted. What a spreadsheet would take for a formula has an apostrophe before it, and
/// what begins with an apostrophe one more: less one, each is what it was. Control characters, but line feeds and tabs,
/// and marks of direction are shown as `\xNN`.
std::string csvCell(const std::string& text);

/// The names of the columns of a report, and a record in them (docs/formats.md, "Report"; RFC 4180).
extern const char kCsvHeader[];
std::string csvRow(const Record& record);

/// The codes of the record's reasons, separated by blanks, one as often as it stands there.
std::string codesOf(const Record& record);

} // namespace tarn::archive
