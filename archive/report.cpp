// `annomend-archive report`: the journals of an output folder, added up or row by row (docs/formats.md, "Report").
#include "archive/report.h"

#include "archive/journal/textJson.h"
#include "archive/journals.h"
#include "archive/run/exitStatus.h"
#include "base/Console.h"
#include "base/text.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <set>
#include <vector>

namespace tarn::archive
{
namespace
{

struct Totals
{
  std::uint64_t inputs = 0;
  std::array<std::uint64_t, kOutcomes> outcomes{};
  std::map<std::string, Tally> annotations;
  std::map<std::string, std::uint64_t> reasons;
  std::uint64_t outputs = 0; ///< files
  std::uint64_t bytes = 0;
};

void add(const Record& record, Totals& totals)
{
  ++totals.inputs;
  ++totals.outcomes.at(static_cast<std::size_t>(record.outcome));
  for (const auto& [kind, tally] : record.annotations)
  {
    totals.annotations[kind].read += tally.read;
    totals.annotations[kind].written += tally.written;
  }
  for (const Reason& reason : record.reasons)
    ++totals.reasons[reason.code];
  for (const Output& output : record.outputs)
    if (!output.duplicate)
    {
      ++totals.outputs;
      totals.bytes += output.bytes;
    }
}

void forEachRecord(const std::vector<JournalIndex>& journals, const std::function<void(const Record& record)>& visit)
{
  for (const JournalIndex& journal : journals)
    journal.forEach(visit);
}

Totals totalsOf(const std::vector<JournalIndex>& journals)
{
  Totals totals;
  forEachRecord(journals, [&totals](const Record& record) { add(record, totals); });
  return totals;
}

// What went wrong comes first: groups of outcomes, the worst before the others.
const std::vector<std::set<Outcome>> kGroups = {
    {Outcome::crashed, Outcome::timeout, Outcome::failed, Outcome::refused},
    {Outcome::partly},
    {Outcome::nothing, Outcome::converted},
};

void forEachInOrder(const std::vector<JournalIndex>& journals, std::size_t groups,
                    const std::function<void(const Record& record)>& visit)
{
  for (std::size_t group = 0; group < groups; ++group)
    forEachRecord(journals,
                  [&](const Record& record)
                  {
                    if (kGroups.at(group).count(record.outcome) > 0)
                      visit(record);
                  });
}

std::uint64_t linesOf(const Record& record, std::uint64_t Tally::*count)
{
  std::uint64_t lines = 0;
  for (const auto& [kind, tally] : record.annotations)
    lines += tally.*count;
  return lines;
}

std::string codesOf(const Record& record)
{
  std::string codes;
  for (const Reason& reason : record.reasons)
    codes += (codes.empty() ? "" : " ") + reason.code;
  return codes;
}

void writeJson(const std::vector<JournalIndex>& journals)
{
  const Totals totals = totalsOf(journals);
  Json json{{"inputs", totals.inputs}};
  for (std::size_t i = 0; i < kOutcomes; ++i)
    json["outcomes"][nameOf(static_cast<Outcome>(i))] = totals.outcomes.at(i);
  json["annotations"] = Json::object();
  for (const auto& [kind, tally] : totals.annotations)
    json["annotations"][kind] = {{"read", tally.read}, {"written", tally.written}};
  json["reasons"] = Json(totals.reasons);
  json["outputs"] = totals.outputs;
  json["bytes"] = totals.bytes;
  consoleOut() << shownJson(json.dump()) << '\n';
}

/// RFC 4180
std::string quoted(const std::string& text)
{
  std::string result = "\"";
  for (const char c : base::printable(text))
    result.append(c == '"' ? 2 : 1, c);
  return result + '"';
}

void writeCsv(const std::vector<JournalIndex>& journals)
{
  consoleOut() << "input,size,mtime,study,instance,outcome,read,written,lost,reasons,outputs,bytes,ms,message\r\n";
  const auto row = [](const Record& record)
  {
    std::uint64_t bytes = 0;
    for (const Output& output : record.outputs)
      bytes += output.bytes;
    const std::uint64_t read = linesOf(record, &Tally::read);
    const std::uint64_t written = linesOf(record, &Tally::written);
    consoleOut() << quoted(readable(record.input)) << ',' << record.size << ',' << record.mtime << ','
                 << quoted(record.study) << ',' << quoted(record.instance) << ',' << nameOf(record.outcome) << ','
                 << read << ',' << written << ',' << read - written << ',' << quoted(codesOf(record)) << ','
                 << record.outputs.size() << ',' << bytes << ',' << record.milliseconds << ','
                 << quoted(record.messages.empty() ? "" : record.messages.front()) << "\r\n";
  };
  forEachInOrder(journals, kGroups.size(), row);
}

void writeText(const std::vector<JournalIndex>& journals)
{
  const Totals totals = totalsOf(journals);
  std::ostream& out = consoleOut();
  out << "Inputs: " << totals.inputs << '\n';
  for (const std::set<Outcome>& group : kGroups)
    for (const Outcome outcome : group)
      out << "  " << nameOf(outcome) << ": " << totals.outcomes.at(static_cast<std::size_t>(outcome)) << '\n';
  out << "Annotation lines (read = written + lost):\n";
  for (const auto& [kind, tally] : totals.annotations)
    out << "  " << base::printable(kind) << ": " << tally.read << " = " << tally.written << " + "
        << tally.read - tally.written << '\n';
  out << "Reasons:\n";
  for (const auto& [code, count] : totals.reasons)
    out << "  " << code << ": " << count << '\n';
  out << "Outputs: " << totals.outputs << ", " << totals.bytes << " bytes\n";
  const auto row = [&out](const Record& record)
  {
    out << nameOf(record.outcome) << ' ' << base::printable(readable(record.input)) << ": " << codesOf(record) << '\n';
    for (const std::string& message : record.messages)
      out << "    " << base::printable(message) << '\n';
  };
  forEachInOrder(journals, 2, row); // all but what is as it should be
}

} // namespace

int report(const std::string& out, ReportForm form)
{
  const std::vector<JournalIndex> journals = openJournals(out);
  switch (form)
  {
  case ReportForm::text:
    writeText(journals);
    break;
  case ReportForm::json:
    writeJson(journals);
    break;
  case ReportForm::csv:
    writeCsv(journals);
    break;
  }
  return exitStatus::kDone;
}

} // namespace tarn::archive
