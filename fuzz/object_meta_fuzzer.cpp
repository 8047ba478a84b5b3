#include "fuzz/Fuzzing.h"

#include "tests/support/ArchiveFolder.h"
#include "tests/support/Capture.h"
#include "tests/support/Files.h"
#include "tests/support/SqlText.h"

#include "db/ArchiveAdmin.h"
#include "db/DBConnectorSql.h"
#include "db/DBException.h"
#include "study/cache/ObjCacheMgr.h"
#include "study/objectmeta/ObjMeta.h"
#include "db/SqlSession.h"

#include <dlfcn.h>

#include <algorithm>

namespace
{

using namespace tarn::db;
using fuzzing::expect;

constexpr char kStudy[] = "s";

/// An archive whose only study is "s", and which is emptied before each import.
class Archive : private ArchiveFolder
{
public:
  Archive()
  {
    // The converter loads and unloads it for each call; what the fuzzer counts in it must stay.
    expect(dlopen(ANNOMEND_HANDLER_HOME "/lib/RepositoryHandler.so", RTLD_NOW) != nullptr, "the handler library");
    std::filesystem::create_directory(root / "meta" / kStudy);
    put(root / "meta" / kStudy / "storestate.rec", "Version=\"1\"\n");
    db->createTables();
  }

  void begin(std::size_t count)
  {
    for (const char* table : {"objects", "object_cache", "object_references"})
      db->session().execute(std::string("DELETE FROM ") + table);
    ArchiveAdmin(*db).putStudy(kStudy, static_cast<int>(count), false);
  }

  std::size_t rows(const char* table)
  {
    return std::stoul(select(*db, std::string("SELECT COUNT(*) FROM ") + table).at(0));
  }

  const std::unique_ptr<DBConnectorSql> db = DBConnectorSql::open(Missing::create);
  const std::string metaFile = root / "meta" / kStudy / "objectdb.meta";
};

/// What an attempt gives, or `refused` where it ends with a Refusal, which says why.
template <class Refusal, class Attempt, class Result>
Result resultOf(Attempt attempt, Result refused)
{
  try
  {
    return attempt();
  }
  catch (const Refusal& refusal)
  {
    expect(refusal.what()[0] != '\0', "an exception says why");
    return refused;
  }
}

} // namespace

/// Imports any bytes as the study's object meta file, whose count of objects the database has right.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t length)
{
  static Archive archive;
  const Capture said;
  const std::string text(reinterpret_cast<const char*>(bytes), length);
  put(archive.metaFile, text);
  tarn::study::ObjMeta meta;
  bool missing = false;
  const auto readable = static_cast<int>(meta.read(archive.metaFile));
  const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
  expect(meta.rowCount == meta.rows.size() && meta.rows.size() + 3 <= std::max<std::size_t>(lines, 3),
         "a row of the file is a row at most");

  ObjCacheMgr cache(archive.db.get());
  const auto import = [&]
  { return resultOf<DBException>([&] { return cache.importFromMetaFile(kStudy, archive.metaFile, missing); }, -1000); };
  archive.begin(meta.rowCount + 1);
  expect(import() < 0 && archive.rows("objects") == 0, "a file that lacks an object is not imported");

  archive.begin(meta.rowCount);
  const int code = import();
  const std::size_t imported = archive.rows("objects");
  expect(!missing, "a file that is there is not missing");
  expect(code <= 0 && (readable == 0 || code == readable), "a file that cannot be read is not imported");
  // Names that differ in the file may be one for the database.
  expect(imported <= meta.rowCount && (imported > 0) == (code == 0 && meta.rowCount > 0),
         "no row from nowhere, or lost");
  if (code == 0)
    expect(import() == 0 && archive.rows("objects") == imported, "a second import changes nothing");

  std::set<std::string> names;
  expect(cache.getFilesFromMeta(kStudy, names) == readable && names.size() == meta.rows.size(),
         "the names are those of the rows");

  archive.begin(meta.rowCount);
  const bool valid = resultOf<ObjCacheException>([&] { return cache.touchObjCache(kStudy, true); }, false);
  expect(valid == (code == 0), "the study is valid when its file is imported");
  expect(archive.rows("objects") == imported, "the same rows on the way of a conversion");
  expect(valid == (archive.rows("object_references") == 0), "a study that is not imported has its error references");
  fuzzing::expectMessages(said.error.str(), false);
  return 0;
}
