#pragma once

#include "archive/html/ReportFolder.h"
#include "archive/journal/Record.h"
#include "archive/journal/Totals.h"
#include "archive/journal/textJson.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace tarn::archive
{

/// Writes the rows of a report: rows.csv and rows.jsonl for programs, and for the page parts of data/ with 50,000 rows
/// each, of which it loads those that it needs. Memory is that of one piece of a file.
class RowWriter
{
public:
  static constexpr std::uint64_t kRowsAPart = 50000;

  /// Rows name kinds and codes by their places in `totals`. Borrows `folder`.
  RowWriter(ReportFolder& folder, const Totals& totals);

  /// Adds the next row, as the report shows it.
  void add(const Record& record, bool hasDetails);
  void finish();
  std::uint64_t rows() const { return count; }
  /// What the page knows of the parts without loading them: the number of their rows, and which filters none of their
  /// rows passes.
  const Json& parts() const { return manifest; }

private:
  /// What the rows of a part have.
  struct Contents
  {
    std::uint64_t rows = 0;
    std::set<std::size_t> outcomes, kinds, reasons;
    std::uint64_t details = 0;
  };

  Json reasonsOf(const Record& record);
  void finishPart();

  ReportFolder& folder;
  ReportFile csv;
  ReportFile jsonl;
  std::map<std::string, std::size_t> kindPlaces, reasonPlaces;
  std::uint64_t count = 0;
  Contents contents;
  std::string part; ///< JSON, not closed yet
  Json manifest = Json::array();
};

} // namespace tarn::archive
