// `annomend-archive report --html`: the journals of an output folder as a page (docs/formats.md, "Report to look at").
#include "archive/html/writeReport.h"

#include "archive/html/Anonymity.h"
#include "archive/html/DetailsWriter.h"
#include "archive/html/ReportFolder.h"
#include "archive/html/RowWriter.h"
#include "archive/html/Sample.h"
#include "archive/html/pageFiles.h"
#include "archive/html/reasonTexts.h"
#include "archive/html/scriptText.h"
#include "archive/journal/failuresFirst.h"
#include "archive/journal/fileVersion.h"
#include "base/Console.h"
#include "base/text.h"
#include "converter/Account.h"

#include <ctime>
#include <random>

namespace tarn::archive
{
namespace
{

std::string timeNow()
{
  struct stat now = {};
  timespec_get(&now.st_mtim, TIME_UTC);
  return versionOf(now).mtime.substr(0, sizeof "2026-01-02T03:04:05" - 1) + "Z";
}

class Report
{
public:
  Report(const HtmlRequest& request, const std::vector<JournalIndex>& journals)
    : request(request), journals(journals), anonymity(request.anonymous),
      seed(request.seed ? *request.seed : std::random_device()()), sample(request.pictures.sample, seed),
      folder(request.folder)
  {
  }

  void write();

private:
  bool hasDetails(const Record& record) const;
  void writeRows();
  Json journalsJson() const;
  Json picturesJson() const;
  Json totalsJson() const;

  const HtmlRequest& request;
  const std::vector<JournalIndex>& journals;
  Anonymity anonymity;
  std::uint64_t seed;
  Sample sample;
  Totals totals;
  ReportFolder folder;
  Json parts;
  std::uint64_t detailed = 0; ///< rows with pictures, or the reasons why there are none
  std::uint64_t pictures = 0;
  std::uint64_t refusals = 0;
};

void Report::write()
{
  for (const JournalIndex& journal : journals)
    journal.forEach(
        [this](const Record& record)
        {
          totals.add(anonymity.shown(record));
          sample.offer(record);
        });
  writeRows();
  for (const PageFile& file : pageFiles())
    folder.write(file.name, file.content);
  folder.write("data/totals.js", scriptCall("totals", 1, totalsJson().dump()));
  folder.finish();
  consoleOut() << "Open " << base::printable(request.folder) << "/index.html\n";
  if (sample.drawn() > 0)
    consoleOut() << "The sample is " << sample.drawn() << " of " << sample.offered()
                 << " inputs with outputs, drawn with the seed " << seed << ".\n";
}

bool Report::hasDetails(const Record& record) const
{
  const PictureChoice& choice = request.pictures;
  return choice.all || (choice.failures && isProblem(record)) || sample.has(record);
}

void Report::writeRows()
{
  RowWriter rows(folder, totals);
  DetailsWriter details(folder, anonymity, request.out, request.imagesFolder);
  forEachFailuresFirst(journals, kOutcomeGroups.size(),
                       [&](const Record& record)
                       {
                         const bool isDetailed = hasDetails(record);
                         rows.add(anonymity.shown(record), isDetailed);
                         if (!isDetailed)
                           return;
                         details.write(rows.rows(), record);
                         ++detailed;
                       });
  rows.finish();
  parts = rows.parts();
  pictures = details.pictures();
  refusals = details.refusals();
}

Json Report::journalsJson() const
{
  Json json = Json::array();
  for (const JournalIndex& journal : journals)
  {
    const JournalHeader header = JournalReader(journal.path()).header();
    json.push_back({{"shard", header.shard},
                    {"shards", header.shards},
                    {"form", shortText(header.form, 100)},
                    {"damaged", journal.damagedLines()}});
  }
  return json;
}

Json Report::picturesJson() const
{
  return {{"choice", request.pictures.text},
          {"seed", std::to_string(seed)},
          {"sample", sample.drawn()},
          {"sampled from", sample.offered()},
          {"rows", detailed},
          {"drawn", pictures},
          {"refused", refusals}};
}

Json Report::totalsJson() const
{
  Json json{{"program", ANNOMEND_VERSION},
            {"made", timeNow()},
            {"out", request.anonymous ? "" : readable(request.out)},
            {"anonymous", request.anonymous},
            {"journals", journalsJson()},
            {"pictures", picturesJson()},
            {"inputs", totals.inputs},
            {"outputs", totals.outputs},
            {"bytes", totals.bytes},
            {"outcomes", Json::array()},
            {"kinds", Json::array()},
            {"reasons", Json::array()},
            {"parts", parts}};
  for (std::size_t i = 0; i < kOutcomes; ++i)
    json["outcomes"].push_back({{"name", nameOf(static_cast<Outcome>(i))}, {"inputs", totals.outcomes.at(i)}});
  for (const auto& [name, kind] : totals.kinds)
    json["kinds"].push_back({{"name", readable(name)},
                             {"inputs", kind.inputs},
                             {"read", kind.lines.read},
                             {"written", kind.lines.written}});
  for (const auto& [code, cause] : totals.reasons)
  {
    const ReasonText text = reasonText(code);
    json["reasons"].push_back({{"name", readable(code)},
                               {"meaning", text.meaning},
                               {"action", text.action},
                               {"inputs", cause.inputs},
                               {"lines", cause.lines},
                               {"lost", code == impsconverter::loss::kLineUnknown ? 0 : cause.lines}});
  }
  return json;
}

} // namespace

void writeReport(const HtmlRequest& request, const std::vector<JournalIndex>& journals)
{
  Report(request, journals).write();
}

} // namespace tarn::archive
