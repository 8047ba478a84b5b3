#include "tests/support/ArchiveFolder.h"
#include "tests/support/LogFile.h"
#include "tests/support/MariaDbServer.h"
#include "tests/support/SqlText.h"

#include "db/ArchiveAdmin.h"
#include "db/DBConnectorSql.h"
#include "study/cache/ObjCacheMgr.h"
#include "db/ReferenceAccessor.h"
#include "db/SqlSession.h"
#include "study/cache/StudyLock.h"

#include <gtest/gtest.h>

#include <tuple>

#include <sys/stat.h>

namespace
{

namespace fs = std::filesystem;
using namespace tarn::db;
using tarn::imutils::IMSemaphore;
using tarn::study::StudyLock;
using Lines = std::vector<std::string>;

std::vector<float> lockArguments; // the last lock's
int syncs = 0;                    // of the embedded database's files

} // namespace

extern "C"
{
  int fdatasync(int /*descriptor*/)
  {
    ++syncs;
    return 0;
  }
  // NOLINTBEGIN(clang-diagnostic-reserved-identifier): the linker's names
  /// Waits for no lock.
  void __real__ZN4tarn7imutils11IMSemaphore7lock_msEiffff(IMSemaphore*, int, float, float, float, float);
  void __wrap__ZN4tarn7imutils11IMSemaphore7lock_msEiffff(IMSemaphore* lock, int timeout, float first, float factor,
                                                          float longest, float jitter)
  {
    lockArguments = {static_cast<float>(timeout), first, factor, longest, jitter};
    __real__ZN4tarn7imutils11IMSemaphore7lock_msEiffff(lock, 0, first, factor, longest, jitter);
  }
  // NOLINTEND(clang-diagnostic-reserved-identifier)
}

namespace
{

const std::string kHeader = "0\n3\nSTUDYUID\tFNAME\tSOPINSTUID\n";
const std::string kGood = kHeader + "s\tCT.1\t1\ns\tCT.2\t2\n";
const std::string kBad = kHeader + "s\tCT.1\t1\ns\tCT.2\n";
const std::string kErrorStatus = "The Object Cache entry is in error status for s";
const std::string kCaught = "An exception caught while ";

std::string metaText(int rows)
{
  std::string text = kHeader;
  for (int row = 0; row < rows; ++row)
    text += "s\tCT." + std::to_string(100000 + row) + "\t1." + std::to_string(row) + "\n";
  return text;
}

/// The study "s" in an empty archive; the parameter is the database.
class ObjCache : public testing::TestWithParam<const char*>, protected ArchiveFolder
{
protected:
  ObjCache() { db->createTables(); }
  /// The study with this meta file, its row of `studies` (negative: none), and nothing else.
  void begin(const std::string& text, int count, bool required = false)
  {
    for (const char* table : {"objects", "object_cache", "studies", "object_references"})
      execute(std::string("DELETE FROM ") + table);
    putMeta(text);
    if (count >= 0)
      ArchiveAdmin(*db).putStudy("s", count, required);
  }
  void putEntry(const std::string& entry)
  {
    if (!entry.empty())
      execute("INSERT INTO object_cache VALUES ('s'," + entry + ",'2024-01-31 23:59:59')");
  }
  void execute(const std::string& sql) { db->session().execute(sql); }
  void putMeta(const std::string& text) const
  {
    put(root / "meta/s/storestate.rec", "Version=\"1\"\n");
    put(root / "meta/s/objectdb.meta", text);
  }
  /// The exception's text, empty without one.
  std::string touch(bool check = true, const std::string& study = "s")
  {
    try
    {
      return ObjCacheMgr(db.get()).touchObjCache(study, check) ? "" : "false";
    }
    catch (const ObjCacheException& failure)
    {
      return failure.what();
    }
  }
  Lines rows() { return select(*db, "SELECT FNAME,SOPINSTUID FROM objects WHERE STUDYUID='s' ORDER BY FNAME"); }
  /// "STATUS,ERROR" of the entry, if there is one, and "KIND,REFKEY" of each error reference.
  Lines state()
  {
    const std::string references = "SELECT KIND,REFKEY FROM object_references WHERE NAME='ocerror' ORDER BY 1,2";
    return select(*db, "SELECT STATUS,ERROR FROM object_cache UNION ALL " + references);
  }

  const bool isEmbedded = GetParam() == std::string("SQLite");
  const ScopedEnvironment url{"TARN_DB_URL",
                              isEmbedded ? "sqlite:" + folder / "db" : MariaDbServer::shared().createDatabase()};
  std::unique_ptr<DBConnectorSql> db = DBConnectorSql::open(Missing::create);
};

INSTANTIATE_TEST_SUITE_P(On, ObjCache, testing::Values("SQLite", "MariaDB"),
                         [](const auto& database) { return database.param; });

/// The errors that the import and what follows it log.
std::string errorLines(const LogFile& log)
{
  std::istringstream lines(log.lines());
  std::string errors;
  for (std::string line; std::getline(lines, line);)
    if (line.rfind("error ObjCacheMgr: ", 0) == 0)
      errors += line.substr(19) + "\n";
  return errors;
}

struct Refused
{
  const char* odd; ///< without a code, what the text of the exception names
  int code;        ///< 0: an exception of the database
  int count;
  std::string text;
  Environment::Variables variables = {};
};

const Refused kRefused[] = {
    {"no object table", -1, 2, kGood, {{"OBJECTTBL", std::nullopt}}},
    {"no object-cache table", -2, 2, kGood, {{"QXOBJCACHETBL", ""}}},
    {"unknown meta repository", -3, 2, kGood, {{"REPOSITORY_META", "unknown"}}},
    {"empty file", -5, 2, ""},
    {"empty first line", -6, 2, "\n3\n"},
    {"one line", -7, 2, "0\n"},
    {"no columns", -8, 2, "0\n0\nFNAME\n"},
    {"two lines", -9, 2, "0\n3\n"},
    {"four names for three", -10, 2, "0\n3\nSTUDYUID\tFNAME\tA\tB\n"},
    {"no row of studies", -11, -1, kGood},
    {"key in small letters", -20, 1, "0\n2\nSTUDYUID\tfname\ns\tCT.1\n"},
    {"a row too many", -21, 1, kGood},
    {"a field missing", -23, 2, kBad},
    {"its own end marker", -23, 1, kHeader + "s\tCT.1\t<<EOL>>\t<<EOL>>\n"},
    {"the name 'X)--' is no identifier", 0, 1, "0\n3\nSTUDYUID\tFNAME\tX)--\ns\tCT.1\t1\n"},
    {"cannot prepare a statement: Column 'FNAME' specified twice\n", 0, 1,
     "0\n3\nSTUDYUID\tfName\tFNAME\ns\tCT.1\t1\n"},
    {"the name 'objects;--' is no identifier", 0, 2, kGood, {{"OBJECTTBL", "objects;--"}}},
    {"nowhere", 0, 2, kGood, {{"OBJECTTBL", "nowhere"}}},
    {"SOPINSTUID", 0, 600, metaText(599) + "s\tZ\t" + std::string(65, '1') + "\n"},
};

TEST_P(ObjCache, WhatIsRefusedWritesNothingAndSaysWhy)
{
  for (const Refused& row : kRefused)
  {
    SCOPED_TRACE(row.odd);
    begin(row.text, row.count);
    const Environment changed(row.variables);
    const LogFile log;
    EXPECT_EQ(touch(), kErrorStatus);
    const std::string code = std::to_string(row.code) + "\n", errors = errorLines(log);
    std::string expected = "ObjCacheMgr ERROR importing object table for s: " + code + kErrorStatus + "\n";
    if (row.code <= -3 && row.code != -11 && row.code != -21) // the file itself is bad
      expected += "Collecting objects for s from objmeta for adding error references failed: " + code;
    if (row.code < 0)
      EXPECT_EQ(errors, expected);
    else
      EXPECT_TRUE(errors.rfind(kCaught + "mapping Object table entries for s: ", 0) == 0 &&
                  errors.find(row.odd) != std::string::npos)
          << errors;
    EXPECT_EQ(rows().size(), row.count == 600 ? 300U : 0U) << "the first batch stays";
    EXPECT_EQ(state().at(0), "2,1");
  }
}

TEST_P(ObjCache, WhatIsMissingIsToldInTheLog)
{
  const LogFile log;
  EXPECT_EQ(touch(false), "");
  putMeta("");
  fs::remove(root / "meta/s/objectdb.meta");
  EXPECT_EQ(touch(), "");
  EXPECT_EQ(log.lines(),
            "debug ObjCacheMgr: The meta repository status is 4 for s \n"
            "debug ObjCacheMgr: The meta repository is missing for s \n"
            "debug ObjCacheMgr: ObjCacheMgr importing object table is skipped due to missing object meta for s\n"
            "debug ObjCacheMgr: The meta repository status is 0 for s \n"
            "debug ObjCacheMgr: Objmeta file does not (yet) exist for s\n");
  bool missing = false;
  ASSERT_EQ(mkfifo((root / "meta/s/objectdb.meta").c_str(), 0600), 0);
  EXPECT_EQ(ObjCacheMgr(db.get()).importFromMeta("s", missing), -4) << "a pipe is not waited for";
}

TEST_P(ObjCache, RowsAreStoredDecodedAndOnce)
{
  const std::tuple<std::string, int, Lines> rows[] = {
      {"s\tCT.1\t1", 1, {"CT.1,1"}},                                     // no newline at the end
      {"s\tCT.1\t1\ns\tCT.0\t0\ns\tCT.1\t2\n", 2, {"CT.0,0", "CT.1,2"}}, // the later of two
      {"s\tC.a\t\ns\tC.A\t<<NULL>>\ns\tC.a+\t%3C<NULL>>\n", 3, {"C.A,NULL", "C.a,", "C.a ,<<NULL>>"}},
      {"s\tCT.1\t%41%EF%BF%BD%EF%BF%BDx%ef%bf%bd\n", 1, {"CT.1,A??x\xEF\xBF\xBD"}},
      {"s\tCT.%31\t%FF%80+%25%4\ns\tCT.1\t1\n", 2, {"CT.1,\xFF\x80 %"}}, // the key is decoded in the table only
      {"s\tCT.0\t%30\ns\tCT.1\t1\n", 2, {"CT.0,before", "CT.1,1"}},
  };
  for (const auto& [text, count, stored] : rows)
  {
    begin(kHeader + text, count);
    if (stored.front() == "CT.0,before")
      execute("INSERT INTO objects(STUDYUID,FNAME,SOPINSTUID) VALUES ('s','CT.0','before')");
    EXPECT_EQ(touch(), "");
    EXPECT_EQ(this->rows(), stored) << text;
    EXPECT_EQ(state(), Lines{"0,0"});
  }
}

TEST_P(ObjCache, AnImportWaitsForNoSync)
{
  begin(metaText(301), 301); // in two batches
  syncs = 0;
  EXPECT_EQ(touch(), "");
  EXPECT_EQ(syncs, 0);
}

struct State
{
  const char* entry;  ///< STATUS,ERROR; none where it is empty
  std::string text;   ///< of the meta file; none where it is empty
  const char* before; ///< r: the study has the reference, m: it requires its meta file, u: which is not to be checked
  std::string message;
  Lines after;
};

const std::string kUnmap = "The Object Cache entry is marked for unmap for s";
const State kStates[] = {
    {"", kGood, "", "", {"0,0"}},
    {"", kBad, "r", kErrorStatus, {"2,1", "OBJECTFILE,s/CT.1", "STUDYDIR,s"}},
    {"", "", "mu", "", {}},
    {"", "", "", "", {"0,0"}},
    {"", "", "m", kErrorStatus, {"2,1", "STUDYDIR,s"}},
    {"0,0", kBad, "m", "", {"0,0"}},
    {"0,1", kBad, "", "", {"0,1"}},
    {"1,0", kGood, "r", kUnmap, {"1,0", "OBJECTFILE,s/CT.1", "OBJECTFILE,s/CT.2", "STUDYDIR,s"}},
    {"2,1", kGood, "", kErrorStatus, {"2,1", "OBJECTFILE,s/CT.1", "OBJECTFILE,s/CT.2", "STUDYDIR,s"}},
    {"2,1", kGood, "r", kErrorStatus, {"2,1", "STUDYDIR,s"}},
    {"2,0", kGood, "", "", {"0,0"}},
    {"3,1", kGood, "r", kErrorStatus, {"3,1", "STUDYDIR,s"}},
    {"-1,0", kBad, "r", kErrorStatus, {"2,1", "STUDYDIR,s"}},
    {"3,0", "", "u", "", {"3,0"}},
    {"3,0", "", "m", kErrorStatus, {"2,1", "STUDYDIR,s"}},
};

TEST_P(ObjCache, StatesOfTheEntry)
{
  for (const State& row : kStates)
  {
    const std::string before = row.before;
    SCOPED_TRACE(row.entry + before + row.text);
    const auto has = [&](char letter) { return before.find(letter) != std::string::npos; };
    begin(row.text, 2, has('m'));
    if (row.text.empty())
      fs::remove_all(root / "meta/s");
    putEntry(row.entry);
    if (has('r'))
      db->references().addReference("s", "STUDYDIR", "ocerror");
    EXPECT_EQ(touch(!has('u')), row.message);
    EXPECT_EQ(state(), row.after);
  }
}

TEST_P(ObjCache, ReferencesGoToAllThatIsKnownOfTheStudy)
{
  const std::string refused(320, 'x'); // with the study, longer than a reference's key
  putMeta(kHeader + "s\tCT.meta\t1\ns\t" + refused + "\t1\nbad\n");
  execute("INSERT INTO objects(STUDYUID,FNAME) VALUES ('s','CT.row')");
  for (const char* file : {"s/CT.file", "s_dead1/CT.dead1", "s_dead2/CT.dead2", "s_dead4/CT.dead4", "t/CT.other"})
    put(root / "data" / file, "x");
  const LogFile log;
  ObjCacheMgr(db.get()).addErrorRefs("s");
  EXPECT_EQ(state(), (Lines{"OBJECTFILE,s/CT.dead1", "OBJECTFILE,s/CT.dead2", "OBJECTFILE,s/CT.file",
                            "OBJECTFILE,s/CT.meta", "OBJECTFILE,s/CT.row", "STUDYDIR,s"}));
  const std::string expected = "Collecting objects for s from objmeta for adding error references failed: -23\n"
                               "Adding error references to OBJECTFILE/s/" +
                               refused + " failed with exception: ";
  EXPECT_EQ(errorLines(log).substr(0, expected.size()), expected);
}

TEST_P(ObjCache, ADatabaseThatFailsBecomesTheOneException)
{
  begin(kGood, 2);
  putEntry("2,1");
  execute("DROP TABLE object_references");
  const LogFile log;
  EXPECT_EQ(touch(), kErrorStatus);
  const std::string errors = errorLines(log), failed = " failed with exception: ";
  for (const std::string line :
       {"checking ocerror references on STUDYDIR/s", "\nAdding error references to OBJECTFILE/s/CT.1",
        "\nAdding error references to OBJECTFILE/s/CT.2", "\nAdding error references to STUDYDIR/s"})
    EXPECT_NE(errors.find(line + failed), std::string::npos) << errors;
  execute("DROP TABLE object_cache");
  EXPECT_EQ(touch().rfind(kCaught + "checking/updating Object Cache entry for s: ", 0), 0U);
  const ScopedEnvironment table("QXOBJCACHETBL", std::string(2000, 'x'));
  db = DBConnectorSql::open(Missing::create);
  EXPECT_EQ(touch().size(), 1022U);
}

TEST_P(ObjCache, ALockThatIsNotObtainedAddsNoReference)
{
  const auto other = DBConnectorSql::open(Missing::create);
  const std::string longest(200, '1'), start = "Could not get lock to check/update Object Cache entry for ";
  StudyLock held("s", other.get()), longHeld(longest, other.get());
  held.lock();
  longHeld.lock();
  EXPECT_EQ(touch(), start + "s");
  EXPECT_EQ(lockArguments, (std::vector<float>{30000, 10.0F, 1.5F, 1000.0F, 0.4F}));
  EXPECT_EQ(touch(true, longest), (start + longest).substr(0, 254));
  EXPECT_EQ(state(), Lines());
  putEntry("0,0");
  EXPECT_EQ(touch(), "") << "a valid entry needs no lock";
}

} // namespace
