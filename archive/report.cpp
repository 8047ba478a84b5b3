// `annomend-archive report`: the journals of an output folder, added up or row by row (docs/formats.md, "Report").
#include "archive/report.h"

#include "archive/journal/Totals.h"
#include "archive/journal/csvRow.h"
#include "archive/journal/failuresFirst.h"
#include "archive/journal/textJson.h"
#include "archive/journals.h"
#include "archive/run/exitStatus.h"
#include "base/Console.h"
#include "base/text.h"
#include "dicom/dictionary.h"

#include <set>
#include <vector>

namespace tarn::archive
{
namespace
{

Totals totalsOf(const std::vector<JournalIndex>& journals)
{
  Totals totals;
  for (const JournalIndex& journal : journals)
    journal.forEach([&totals](const Record& record) { totals.add(record); });
  return totals;
}

void writeJson(const std::vector<JournalIndex>& journals, std::uint64_t damagedLines)
{
  const Totals totals = totalsOf(journals);
  Json json{{"inputs", totals.inputs}};
  for (std::size_t i = 0; i < kOutcomes; ++i)
    json["outcomes"][nameOf(static_cast<Outcome>(i))] = totals.outcomes.at(i);
  json["annotations"] = Json::object();
  for (const auto& [kind, total] : totals.kinds)
    json["annotations"][kind] = {{"read", total.lines.read}, {"written", total.lines.written}};
  json["reasons"] = json["reason_inputs"] = Json::object();
  for (const auto& [code, cause] : totals.reasons)
  {
    json["reasons"][code] = cause.entries;
    json["reason_inputs"][code] = cause.inputs;
  }
  json["outputs"] = totals.outputs;
  json["bytes"] = totals.bytes;
  json["damaged_lines"] = damagedLines;
  consoleOut() << shownJson(json.dump()) << '\n';
}

void writeCsv(const std::vector<JournalIndex>& journals)
{
  consoleOut() << kCsvHeader;
  forEachFailuresFirst(journals, kOutcomeGroups.size(), [](const Record& record) { consoleOut() << csvRow(record); });
}

void writeText(const std::vector<JournalIndex>& journals)
{
  const Totals totals = totalsOf(journals);
  std::ostream& out = consoleOut();
  out << "Inputs: " << totals.inputs << '\n';
  for (const std::set<Outcome>& group : kOutcomeGroups)
    for (const Outcome outcome : group)
      out << "  " << nameOf(outcome) << ": " << totals.outcomes.at(static_cast<std::size_t>(outcome)) << '\n';
  out << "Annotation lines (read = written + lost):\n";
  for (const auto& [kind, total] : totals.kinds)
    out << "  " << base::printable(kind) << ": " << total.lines.read << " = " << total.lines.written << " + "
        << total.lines.read - total.lines.written << '\n';
  out << "Reasons, and the inputs that have them:\n";
  for (const auto& [code, cause] : totals.reasons)
    out << "  " << base::printable(code) << ": " << cause.inputs << '\n';
  out << "Outputs: " << totals.outputs << ", " << totals.bytes << " bytes\n";
  const auto row = [&out](const Record& record)
  {
    out << nameOf(record.outcome) << ' ' << base::printable(readable(record.input)) << ": "
        << base::printable(codesOf(record)) << '\n';
    for (const std::string& message : record.messages)
      out << "    " << base::printable(message) << '\n';
  };
  forEachFailuresFirst(journals, kProblemGroups, row);
}

} // namespace

int report(const std::string& out, ReportForm form)
{
  const std::vector<JournalIndex> journals = openJournals(out, Damage::passOver);
  const std::uint64_t damagedLines = tellDamage(journals);
  switch (form)
  {
  case ReportForm::text:
    writeText(journals);
    break;
  case ReportForm::json:
    writeJson(journals, damagedLines);
    break;
  case ReportForm::csv:
    writeCsv(journals);
    break;
  }
  return damagedLines == 0 ? exitStatus::kDone : exitStatus::kFailed;
}

int reportAsPage(const HtmlRequest& request)
{
  const std::vector<JournalIndex> journals = openJournals(request.out, Damage::passOver);
  const std::uint64_t damagedLines = tellDamage(journals);
  std::string error;
  if (!dicom::setUpDictionary(error))
    throw std::runtime_error(error);
  writeReport(request, journals);
  return damagedLines == 0 ? exitStatus::kDone : exitStatus::kFailed;
}

} // namespace tarn::archive
