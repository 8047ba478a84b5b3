#include "tests/support/MariaDbServer.h"
#include "tests/support/Environment.h"
#include "tests/support/TempDir.h"

#include "db/ArchiveAdmin.h"
#include "db/DBConnectorSql.h"
#include "db/ObjCacheAccessor.h"
#include "study/cache/ObjCacheMgr.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <string>

using namespace tarn::db;

namespace
{

/// A study of `rows` objects that is still to be imported, on SQLite (0) or a MariaDB server (1).
class Study
{
public:
  Study(bool onServer, int rows)
  {
    const std::string url = onServer ? server().createDatabase() : "sqlite:" + (folder.path() / "db").string();
    const Environment database({{"TARN_DB_URL", url}});
    db = DBConnectorSql::open(Missing::create);
    db->createTables();
    ArchiveAdmin(*db).registerStudy("1.2", rows, true);
    std::ofstream file(path());
    file << "0\n8\nSTUDYUID\tFNAME\tSOPCLASSUID\tSOPINSTUID\tSERIESUID\tIMGCOLUMNS\tIMGROWS\tIMGFRAMES\n";
    for (int row = 0; row < rows; ++row)
      file << "1.2\tCT.1.2.3." << row << "\t1.2.840.10008.5.1.4.1.1.2\t1.2.3." << row << "\t1.2.3\t512\t512\t1\n";
  }
  std::string path() const { return folder.path() / "objectdb.meta"; }

  std::unique_ptr<DBConnectorSql> db;

private:
  static MariaDbServer& server()
  {
    static MariaDbServer instance;
    return instance;
  }

  const TempDir folder;
  const ScopedEnvironment objects{"OBJECTTBL", "objects"};
  const ScopedEnvironment cache{"QXOBJCACHETBL", "object_cache"};
};

/// A run with an import: the rows, and the entry, which is what makes them certain to be on the disk.
void import(benchmark::State& state)
{
  Study study(state.range(0) == 1, static_cast<int>(state.range(1)));
  ObjCacheMgr manager(study.db.get());
  for (auto pass : state)
  {
    bool missing = false;
    if (manager.importFromMetaFile("1.2", study.path(), missing) != 0)
      state.SkipWithError("the import failed");
    study.db->objCache().setObjCacheStatus("1.2", kObjCacheValid);
    state.PauseTiming();
    ArchiveAdmin(*study.db).registerStudy("1.2", static_cast<int>(state.range(1)), false);
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(1));
}
BENCHMARK(import)
    ->ArgNames({"server", "rows"})
    ->ArgsProduct({{0, 1}, {1000, 10000, 100000}})
    ->Iterations(1)
    ->Repetitions(21)
    ->ReportAggregatesOnly()
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

/// What the disk takes for one commit: a server waits for it with each batch of 300 rows.
void sync(benchmark::State& state)
{
  const TempDir folder;
  const int file = open((folder / "file").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  const std::string block(65536, 'x');
  for (auto pass : state)
    if (write(file, block.data(), block.size()) < 0 || fdatasync(file) != 0)
      state.SkipWithError("the disk failed");
  close(file);
}
BENCHMARK(sync)->Iterations(20)->Repetitions(21)->ReportAggregatesOnly()->Unit(benchmark::kMillisecond)->UseRealTime();

/// A run whose entry is valid: one query, no lock.
void validEntry(benchmark::State& state)
{
  const Study study(state.range(0) == 1, 0);
  study.db->objCache().setObjCacheStatus("1.2", kObjCacheValid);
  for (auto pass : state)
    benchmark::DoNotOptimize(ObjCacheMgr(study.db.get()).touchObjCache("1.2", true));
}
BENCHMARK(validEntry)->ArgName("server")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace
