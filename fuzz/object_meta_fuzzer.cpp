#include "Fuzzing.h"

#include "ArchiveFolder.h"
#include "Capture.h"
#include "Files.h"
#include "SqlText.h"

#include "ArchiveAdmin.h"
#include "DBConnectorSql.h"
#include "DBException.h"
#include "ObjCacheMgr.h"
#include "ObjMeta.h"
#include "SqlSession.h"

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
    ArchiveAdmin(*db).createSchema();
  }

  void begin(const std::string& text, std::size_t count)
  {
    put(metaFile, text);
    for (const char* table : {"objects", "object_cache", "object_references"})
      db->session().execute(std::string("DELETE FROM ") + table);
    ArchiveAdmin(*db).putStudy(kStudy, static_cast<int>(count), false);
  }

  const std::unique_ptr<DBConnectorSql> db = DBConnectorSql::open(Missing::create);
  const std::string metaFile = root / "meta" / kStudy / "objectdb.meta";
};

std::size_t rows(Archive& archive, const char* table)
{
  return std::stoul(select(*archive.db, std::string("SELECT COUNT(*) FROM ") + table).at(0));
}

/// Imports the file; where that does not go well, as a code or an exception, a negative number.
int import(Archive& archive)
{
  try
  {
    bool missing = false;
    const int code = ObjCacheMgr(archive.db.get()).importFromMetaFile(kStudy, archive.metaFile, missing);
    expect(!missing, "a file that is there is not missing");
    return code;
  }
  catch (const DBException& refusal)
  {
    expect(refusal.what()[0] != '\0', "an exception says why");
    return -1000;
  }
}

/// The way of a conversion; whether the study counts as imported.
bool touch(Archive& archive)
{
  try
  {
    return ObjCacheMgr(archive.db.get()).touchObjCache(kStudy, true);
  }
  catch (const ObjCacheException& refusal)
  {
    expect(std::string(refusal.what()).size() > 40, "an exception says why");
    return false;
  }
}

} // namespace

/// Imports any bytes as the study's object meta file, whose count of objects the database has right.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t length)
{
  static Archive archive;
  const Capture said;
  const std::string text(reinterpret_cast<const char*>(bytes), length);
  archive.begin(text, 0);
  ObjMeta meta;
  bool missing = false;
  const int readable = meta.read(archive.metaFile, missing);
  const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
  expect(meta.rowCount == meta.rows.size() && meta.rows.size() + 3 <= std::max<std::size_t>(lines, 3),
         "a row of the file is a row at most");

  archive.begin(text, meta.rowCount + 1);
  expect(import(archive) < 0 && rows(archive, "objects") == 0, "a file that lacks an object is not imported");

  archive.begin(text, meta.rowCount);
  const int code = import(archive);
  const std::size_t imported = rows(archive, "objects");
  expect(readable == 0 || (code == readable && imported == 0), "a file that cannot be read is not imported");
  expect(imported <= meta.rowCount, "no row comes from nowhere");
  expect(code == 0 || code < 0, "a result is 0 or a code below it");
  if (code == 0)
    expect(import(archive) == 0 && rows(archive, "objects") == imported, "a second import changes nothing");

  std::set<std::string> names;
  expect(ObjCacheMgr(archive.db.get()).getFilesFromMeta(kStudy, names) == readable && names.size() == meta.rows.size(),
         "the names are those of the rows");

  archive.begin(text, meta.rowCount);
  const bool valid = touch(archive);
  expect(valid == (code == 0), "the study is valid when its file is imported");
  expect(rows(archive, "objects") == imported, "the same rows on the way of a conversion");
  expect(valid == (rows(archive, "object_references") == 0), "a study that is not imported has its error references");
  fuzzing::expectLines(said.error.str());
  return 0;
}
