// One input of a run, from its first bytes to its record.
#include "archive/run/InputConverter.h"

#include "archive/inputs/shard.h"
#include "archive/journal/textJson.h"
#include "archive/run/Source.h"
#include "archive/run/clock.h"
#include "archive/run/packing.h"
#include "base/Console.h"
#include "base/report.h"
#include "base/text.h"
#include "converter/PSConverter.h"
#include "db/DBException.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <utility>
#include <vector>

namespace tarn::archive
{
namespace
{

constexpr unsigned kJobsAMessage = 32;
constexpr char kGraphicDropped[] = "graphic-dropped"; ///< the remedy of coordinates that are not finite

std::vector<std::string> linesOf(const std::string& text)
{
  std::vector<std::string> lines;
  base::split3<std::vector<std::string>, '\n'>(text, lines);
  return lines;
}

Outcome outcomeOf(impsconverter::Outcome result, const impsconverter::Account& account)
{
  using Result = impsconverter::Outcome;
  const auto isLost = [](const auto& reason) { return reason.first.first != impsconverter::loss::kLineUnknown; };
  const auto& losses = account.losses();
  switch (result)
  {
  case Result::done:
    return std::any_of(losses.begin(), losses.end(), isLost) ? Outcome::partly : Outcome::converted;
  case Result::nothingToDo:
    return Outcome::nothing;
  case Result::notLoaded:
  case Result::refused:
    return Outcome::refused;
  default:
    return Outcome::failed;
  }
}

/// What the account says, in the words of a record. The first message of the line that failed tells why.
void takeAccount(const impsconverter::Account& account, Record& record)
{
  record.study = account.studyUid;
  record.instance = account.sopInstanceUid;
  for (const auto& [kind, tally] : account.annotations())
  {
    Tally& shown = record.annotations[readable(kind)]; // several kinds may be shown as one
    shown.read += tally.read;
    shown.written += tally.written;
  }
  for (const auto& [loss, lines] : account.losses())
  {
    const bool isError = loss.first == impsconverter::loss::kConversionError;
    const std::size_t message = isError ? account.messagesBefore : 0;
    const bool wantsMessage = loss.second.empty() && message < record.messages.size();
    record.reasons.push_back({loss.first, wantsMessage ? record.messages[message] : loss.second, lines});
  }
}

/// What the conformant form did. A graphic that nobody can draw is dropped, and with it some of a line.
void takeForm(const OutputWriter& outputs, Record& record)
{
  record.rules = outputs.remedies();
  if (record.outcome == Outcome::partly && outputs.taken() == 0 && outputs.refused() > 0)
    record.outcome = Outcome::refused;
  if (const auto dropped = record.rules.find(kGraphicDropped); dropped != record.rules.end())
  {
    record.reasons.push_back({kGraphicDropped, std::to_string(dropped->second), 0});
    record.outcome = record.outcome == Outcome::converted ? Outcome::partly : record.outcome;
  }
}

} // namespace

InputConverter::InputConverter(const ConvertOptions& options, const Ledger& ledger, WorkerSide& run,
                               std::string workFolder)
  : options(options), ledger(ledger), run(run),
    outputs(std::move(workFolder), options.conformant ? &form : nullptr,
            [&run](std::uint64_t number, const Output& output)
            { run.tell(fromWorker::kOutput, std::to_string(number) + "\n" + packed(output)); })
{
}

void InputConverter::work()
{
  unsigned untold = 0;
  while (const std::optional<Job> job = run.next())
  {
    begun = steadyNow();
    run.state.job = job->number;
    run.state.since = begun;
    try
    {
      handle(*job);
    }
    catch (const db::DBException& failure)
    {
      run.state.since = 0;
      return run.tell(fromWorker::kStop, failure.what());
    }
    catch (const StoreError& failure)
    {
      run.state.since = 0;
      return run.tell(fromWorker::kStop, failure.what());
    }
    run.state.since = 0;
    if (++untold == kJobsAMessage || !run.hasNext())
    {
      run.tell(fromWorker::kDone, std::to_string(job->number));
      untold = 0;
    }
  }
}

void InputConverter::handle(const Job& job)
{
  FileLook look(job.path);
  if (look.kind() == FileLook::Kind::other ||
      (look.kind() == FileLook::Kind::missing && job.origin == fromSource::kFound))
    return static_cast<void>(++run.state.passed); // a walk's file may be gone since
  if (ledger.isDone(job.path, look.version()))
    return static_cast<void>(++run.state.known);
  const bool mayBeState = look.kind() == FileLook::Kind::file && look.mayBeState().value_or(false);
  if (look.kind() != FileLook::Kind::file)
    tellUnread(job, look);
  else if (mayBeState)
    convert(job, look.version());
  else
    ++run.state.passed;
}

bool InputConverter::isForeign(const std::string& studyUid, const Job& job) const
{
  return job.origin != fromSource::kChosen && !isOfShard(studyUid, job.path, options.shard, options.shards);
}

void InputConverter::convert(const Job& job, const FileVersion& version)
{
  std::ostringstream dump; // nothing is written there
  std::ostringstream messages;
  const ConsoleScope kept(dump, messages);
  impsconverter::PSConverter converter(db, job.path, outputs);
  const bool isLoaded = converter.load();
  if (isForeign(converter.account().studyUid, job))
    return static_cast<void>(++run.state.foreign);
  outputs.begin(converter.account().studyUid);
  const impsconverter::Outcome result =
      isLoaded ? converter.convertLoaded(options.touchObjectCache) : impsconverter::Outcome::notLoaded;
  if (!impsconverter::countsAsConverted(result))
    base::report(impsconverter::kReturnedError);
  Record record;
  record.outcome = outcomeOf(result, converter.account());
  if (record.outcome == Outcome::failed)
    requireDatabase();
  takeForm(outputs, record);
  record.input = job.path;
  record.size = version.size;
  record.mtime = version.mtime;
  record.messages = linesOf(messages.str());
  takeAccount(converter.account(), record);
  tell(std::move(record));
}

/// What failed may have failed because the database went away, or its disk is full: then no input is to blame.
void InputConverter::requireDatabase()
{
  db.requireUsable(options.touchObjectCache);
}

void InputConverter::tellUnread(const Job& job, const FileLook& look)
{
  if (isForeign("", job))
    return static_cast<void>(++run.state.foreign);
  Record record;
  record.input = job.path;
  record.size = look.version().size;
  record.mtime = look.version().mtime;
  record.outcome = Outcome::refused;
  record.reasons.push_back({look.kind() == FileLook::Kind::missing ? "missing" : "unreadable", look.reason(), 0});
  tell(std::move(record));
}

void InputConverter::tell(Record record)
{
  constexpr double kNanoseconds = 1e6; // in a millisecond
  record.milliseconds = std::round(static_cast<double>(steadyNow() - begun) / kNanoseconds * 1000) / 1000;
  run.tell(fromWorker::kRecord, packed(record));
}

} // namespace tarn::archive
