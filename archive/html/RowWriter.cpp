// Rows as the page reads them are arrays without names, of which 50,000 load in a fraction of a second.
#include "archive/html/RowWriter.h"

#include "archive/html/scriptText.h"
#include "archive/journal/csvRow.h"
#include "base/text.h"

#include <algorithm>

namespace tarn::archive
{
namespace
{

constexpr std::size_t kMostShown = 20;   ///< reasons of a row, and messages
constexpr std::size_t kMostBytes = 1000; ///< of a text

template <class Entries>
std::map<std::string, std::size_t> placesOf(const Entries& entries)
{
  std::map<std::string, std::size_t> places;
  for (const auto& [name, entry] : entries)
    places.emplace(name, places.size());
  return places;
}

Json messagesOf(const Record& record)
{
  Json shown = Json::array();
  for (std::size_t i = 0; i < std::min(record.messages.size(), kMostShown); ++i)
    shown.push_back(shortText(record.messages[i], kMostBytes));
  return shown;
}

} // namespace

RowWriter::RowWriter(ReportFolder& folder, const Totals& totals)
  : folder(folder), csv(folder.create("rows.csv")), jsonl(folder.create("rows.jsonl")),
    kindPlaces(placesOf(totals.kinds)), reasonPlaces(placesOf(totals.reasons))
{
  csv.add(std::string("row,") + kCsvHeader);
}

void RowWriter::add(const Record& record, bool hasDetails)
{
  if (contents.rows == kRowsAPart)
    finishPart();
  ++count;
  csv.add(std::to_string(count) + "," + csvRow(record));
  jsonl.add(base::joined("{\"row\":", count, ",", std::string_view(toJson(record)).substr(1), "\n"));
  Json kinds = Json::array();
  for (const auto& [kind, tally] : record.annotations)
  {
    kinds.push_back({kindPlaces.at(kind), tally.read, tally.written});
    contents.kinds.insert(kindPlaces.at(kind));
  }
  const auto outcome = static_cast<std::size_t>(record.outcome);
  const std::size_t hidden = std::max(record.messages.size(), kMostShown) - kMostShown;
  const Json row{shortText(record.input, kMostBytes),
                 shortText(record.study, kMostBytes),
                 shortText(record.instance, kMostBytes),
                 outcome,
                 kinds,
                 reasonsOf(record),
                 record.outputs.size(),
                 record.milliseconds,
                 messagesOf(record),
                 hidden,
                 hasDetails ? 1 : 0};
  part += (contents.rows == 0 ? "[" : ",") + row.dump();
  contents.outcomes.insert(outcome);
  contents.details += hasDetails ? 1 : 0;
  ++contents.rows;
}

/// Reasons with their details and lines; those that are too many to be shown with their codes alone, each once.
Json RowWriter::reasonsOf(const Record& record)
{
  Json shown = Json::array();
  std::set<std::size_t> known;
  for (std::size_t i = 0; i < record.reasons.size(); ++i)
  {
    const Reason& reason = record.reasons[i];
    const std::size_t place = reasonPlaces.at(reason.code);
    const bool isNew = known.insert(place).second;
    if (i < kMostShown)
      shown.push_back({place, shortText(reason.detail, kMostBytes), reason.count});
    else if (isNew)
      shown.push_back({place});
  }
  contents.reasons.insert(known.begin(), known.end());
  return shown;
}

void RowWriter::finishPart()
{
  const std::size_t number = manifest.size();
  folder.write(base::joined("data/rows-", number, ".js"), scriptCall("rows", number, part.empty() ? "[]" : part + "]"));
  manifest.push_back({{"rows", contents.rows},
                      {"outcomes", contents.outcomes},
                      {"kinds", contents.kinds},
                      {"reasons", contents.reasons},
                      {"details", contents.details}});
  part.clear();
  contents = Contents();
}

void RowWriter::finish()
{
  if (contents.rows > 0 || manifest.empty())
    finishPart();
  csv.finish();
  jsonl.finish();
}

} // namespace tarn::archive
