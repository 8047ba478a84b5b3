// `annomend-archive convert`: what a run is made of, and what it says at its end.
#include "archive/convertArchive.h"

#include "archive/journal/Journal.h"
#include "archive/run/Crew.h"
#include "archive/run/DryLedger.h"
#include "archive/run/Run.h"
#include "archive/run/exitStatus.h"
#include "archive/summary.h"
#include "base/Console.h"
#include "base/report.h"
#include "db/DBException.h"
#include "dicom/dictionary.h"

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include <unistd.h>

namespace tarn::archive
{
namespace
{

Progress::Form formOf(const ConvertRequest& request)
{
  return request.progress.value_or(isatty(STDERR_FILENO) == 1 ? Progress::Form::bar : Progress::Form::lines);
}

int tell(int status, const std::string& reason)
{
  base::report("annomend-archive: ", reason);
  return status;
}

/// What stopped the run before its inputs ended it goes to standard error too, which holds every failure.
int conclude(const RunResult& result, const std::array<std::uint64_t, kOutcomes>& outcomes)
{
  const int status = statusOf(result, outcomes);
  return result.stop.reason.empty() ? status : tell(status, result.stop.reason);
}

/// Whether the database is there with its tables: without them every input would fail. A worker has a connection of its
/// own, since none survives a fork.
void requireDatabase(bool touchObjectCache)
{
  db::DBConnectorSql connector(db::Missing::refuse);
  const auto requireTable = [&connector](const char* table)
  { connector.query("SELECT 1 FROM " + connector.tables().name(table) + " LIMIT 1"); };
  requireTable(db::kObjectTable);
  if (touchObjectCache)
    requireTable(db::kObjCacheTable);
}

/// The workers and the loop over them. `leave` is what a worker does first, to leave what is the run's alone.
RunResult lead(const ConvertRequest& request, Ledger& ledger, Source& source,
               const std::vector<std::string>& workFolders, const std::function<void()>& leave)
{
  Crew crew(request.workers, request.memory,
            [&](WorkerSide& run, unsigned seat)
            {
              leave();
              InputConverter(request.options, ledger, run, workFolders.at(seat)).work();
            });
  Progress progress(formOf(request));
  return Run(crew, ledger, progress, request.timeout).go(source, workFolders);
}

int runDry(const ConvertRequest& request)
{
  Source source(request.source);
  DryLedger ledger;
  const std::vector<std::string> none(request.workers);
  const RunResult result = lead(request, ledger, source, none, [] {});
  consoleError() << summaryOf(result, request, nullptr);
  return conclude(result, result.totals.outcomes);
}

int runWhole(ConvertRequest& request)
{
  OutputStore store(request.out);
  Source source(request.source);
  const JournalHeader header{request.form, request.options.shard, request.options.shards};
  Journal journal(store.journalFolder(), header);
  std::vector<std::string> workFolders;
  for (unsigned worker = 0; worker < request.workers; ++worker)
    workFolders.push_back(store.makeWorkFolder(header.name(), worker));
  Placement placement(journal, store, request.again);
  const RunResult result = lead(request, placement, source, workFolders, [&journal] { journal.leaveLock(); });
  store.removeWorkFolders(header.name());
  consoleOut() << summaryOf(result, request, &journal.committed()) << std::flush;
  return conclude(result, journal.committed().outcomes());
}

} // namespace

int convertArchive(ConvertRequest request)
{
  try
  {
    std::string error;
    if (!dicom::setUpDictionary(error))
      return tell(exitStatus::kFailed, error);
    dicom::completeDictionary(); // once, for all workers
    requireDatabase(request.options.touchObjectCache);
    return request.dryRun ? runDry(request) : runWhole(request);
  }
  catch (const db::DBException& failure)
  {
    return tell(exitStatus::kTryAgain, failure.what());
  }
  catch (const JournalMisfit& failure)
  {
    return tell(exitStatus::kUsage, failure.what());
  }
  catch (const JournalError& failure)
  {
    return tell(exitStatus::kTryAgain, failure.what());
  }
  catch (const std::system_error& failure) // no process or memory to be had
  {
    return tell(exitStatus::kTryAgain, failure.what());
  }
  catch (const StoreError& failure)
  {
    return tell(endsTheRun(failure.error) ? exitStatus::kTryAgain : exitStatus::kUsage, failure.what());
  }
}

} // namespace tarn::archive
