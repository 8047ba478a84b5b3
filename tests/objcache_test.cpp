#include "Environment.h"
#include "LogFile.h"
#include "MariaDbServer.h"
#include "TempDir.h"

#include "ArchiveAdmin.h"
#include "QueryBindings.h"
#include "Console.h"
#include "DBConnectorSql.h"
#include "DBException.h"
#include "IMException.h"
#include "IMSemaphore.h"
#include "ObjCacheMgr.h"
#include "ObjMetaInsert.h"
#include "QueryBindings.h"
#include "ReferenceAccessor.h"
#include "SqlSession.h"
#include "TmpPSCache.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using namespace tarn::db;
using tarn::imutils::IMSemaphore;
using Lines = std::vector<std::string>;

/// What the linker puts before IMSemaphore::lock_ms and PSCache::executeUpdate does.
struct Intercepted
{
  std::vector<float> lockArguments;
  bool lockTimesOut = false;
  Lines updates;
  std::function<void()> beforeUpdate = [] {};
};
Intercepted intercepted;

} // namespace

extern "C"
{
  // NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
  void __real__ZN4tarn7imutils11IMSemaphore7lock_msEiffff(IMSemaphore*, int, float, float, float, float);
  void __wrap__ZN4tarn7imutils11IMSemaphore7lock_msEiffff(IMSemaphore* lock, int timeout, float first, float factor,
                                                          float longest, float jitter)
  {
    intercepted.lockArguments = {static_cast<float>(timeout), first, factor, longest, jitter};
    if (intercepted.lockTimesOut)
      throw tarn::imutils::IMTimeoutException("in use");
    __real__ZN4tarn7imutils11IMSemaphore7lock_msEiffff(lock, timeout, first, factor, longest, jitter);
  }

  void __real__ZN4tarn2db7PSCache13executeUpdateERKNS0_7PsQueryERNS0_13QueryBindingsEb(PSCache*, const PsQuery&,
                                                                                       QueryBindings&, bool);
  void __wrap__ZN4tarn2db7PSCache13executeUpdateERKNS0_7PsQueryERNS0_13QueryBindingsEb(PSCache* cache,
                                                                                       const PsQuery& query,
                                                                                       QueryBindings& bindings,
                                                                                       bool commit)
  {
    intercepted.updates.push_back(query.text());
    intercepted.beforeUpdate();
    __real__ZN4tarn2db7PSCache13executeUpdateERKNS0_7PsQueryERNS0_13QueryBindingsEb(cache, query, bindings, commit);
  }
  // NOLINTEND(bugprone-reserved-identifier)
}

namespace
{

const char kHeader[] = "0\n3\nSTUDYUID\tFNAME\tSOPINSTUID\n";
const char kGood[] = "0\n3\nSTUDYUID\tFNAME\tSOPINSTUID\ns\tCT.1\t1\ns\tCT.2\t2\n";
const char kBad[] = "0\n3\nSTUDYUID\tFNAME\tSOPINSTUID\ns\tCT.1\t1\ns\tCT.2\n";
const char kErrorStatus[] = "The Object Cache entry is in error status for s";

MariaDbServer& server()
{
  static MariaDbServer instance;
  return instance;
}

std::string metaText(int rows)
{
  std::ostringstream text;
  text << kHeader;
  for (int row = 0; row < rows; ++row)
    text << "s\tCT." << 100000 + row << "\t1." << row << '\n';
  return text.str();
}

/// The study "s" in an empty archive; the parameter is the database.
class ObjCache : public testing::TestWithParam<const char*>
{
protected:
  ObjCache()
  {
    for (const char* repository : {"data", "meta", "temp"})
      fs::create_directory(root / repository);
    intercepted = {};
    db = open();
    ArchiveAdmin(*db).createSchema();
  }
  std::unique_ptr<DBConnectorSql> open() const
  {
    const ScopedEnvironment variable("TARN_DB_URL", url);
    return DBConnectorSql::open(Missing::create);
  }
  void clear()
  {
    for (const char* table : {"objects", "object_cache", "studies", "object_references"})
      execute(std::string("DELETE FROM ") + table);
    fs::remove_all(root / "meta/s");
  }
  void execute(const std::string& sql) { db->session().execute(sql); }
  void putMeta(const std::string& text) const
  {
    fs::create_directories(root / "meta/s");
    std::ofstream(root / "meta/s/storestate.rec") << "Version=\"1\"\n";
    std::ofstream(root / "meta/s/objectdb.meta") << text;
  }
  void putStudy(int count, bool required = false)
  {
    execute("INSERT INTO studies VALUES ('s'," + std::to_string(count) + (required ? ",1)" : ",0)"));
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
  Lines select(const std::string& sql, int columns)
  {
    TmpPSCache cache(*db, sql, 0, columns);
    const auto bindings = cache.query().mkBindings();
    Lines rows;
    cache.executeQuery(cache.query(), *bindings,
                       [&]
                       {
                         std::string row;
                         for (int column = 0; column < columns; ++column)
                           row += (column > 0 ? "," : "") +
                                  (bindings->isNull(column) ? std::string("NULL") : bindings->text(column));
                         rows.push_back(row);
                       });
    return rows;
  }
  Lines entry() { return select("SELECT STATUS,ERROR FROM object_cache WHERE STUDYUID='s'", 2); }
  Lines rows() { return select("SELECT FNAME,SOPINSTUID FROM objects WHERE STUDYUID='s' ORDER BY FNAME", 2); }
  Lines references()
  {
    return select("SELECT KIND,REFKEY FROM object_references WHERE NAME='ocerror' ORDER BY KIND,REFKEY", 2);
  }

  const TempDir folder;
  const fs::path root = folder.path();
  const Environment environment{{{"REPOSITORYHANDLER_HOME", ANNOMEND_HANDLER_HOME},
                                 {"REPOSITORY_META", root / "meta"},
                                 {"REPOSITORY_TEMPMETA", root / "temp"},
                                 {"REPOSITORY_DICOM_DATA", root / "data"},
                                 {"OBJECTTBL", "objects"},
                                 {"QXOBJCACHETBL", "object_cache"}}};
  const std::string url =
      GetParam() == std::string("SQLite") ? "sqlite:" + (root / "db").string() : server().createDatabase();
  std::unique_ptr<DBConnectorSql> db;
};

INSTANTIATE_TEST_SUITE_P(On, ObjCache, testing::Values("SQLite", "MariaDB"),
                         [](const auto& database) { return std::string(database.param); });

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
  const char* oddity;
  std::string text;
  int count;
  int code;
  Environment::Variables variables;
};

const std::vector<Refused> kRefused = {
    {"no object table", kGood, 2, -1, {{"OBJECTTBL", std::nullopt}}},
    {"no object-cache table", kGood, 2, -2, {{"QXOBJCACHETBL", ""}}},
    {"unknown meta repository", kGood, 2, -3, {{"REPOSITORY_META", "unknown"}}},
    {"empty file", "", 2, -5, {}},
    {"empty first line", "\n3\n", 2, -6, {}},
    {"first line no number", "x\n", 2, -6, {}},
    {"first line negative", "-1\n", 2, -6, {}},
    {"first line beyond 32 bits", "4294967296\n", 2, -6, {}},
    {"one line", "0\n", 2, -7, {}},
    {"no columns", "0\n0\n", 2, -8, {}},
    {"column count no number", "0\nFNAME\n", 2, -8, {}},
    {"two lines", "0\n3\n", 2, -9, {}},
    {"two names for three", "0\n3\nSTUDYUID\tFNAME\n", 2, -10, {}},
    {"four names for three", "0\n3\nSTUDYUID\tFNAME\tA\tB\n", 2, -10, {}},
    {"a huge count", "0\n2147483647\nSTUDYUID\tFNAME\n", 2, -10, {}},
    {"no names", "0\n1\n\n", 2, -10, {}},
    {"an empty last name", "0\n3\nSTUDYUID\tFNAME\t\n", 2, -10, {}},
    {"no row of studies", kGood, -1, -11, {}},
    {"key in small letters", "0\n2\nSTUDYUID\tfname\ns\tCT.1\n", 1, -20, {}},
    {"no rows, two expected", kHeader, 2, -21, {}},
    {"a row too many", kGood, 1, -21, {}},
    {"a row twice", std::string(kHeader) + "s\tCT.1\t1\ns\tCT.1\t2\n", 2, -21, {}},
    {"a field missing", kBad, 2, -23, {}},
    {"a field too many", std::string(kHeader) + "s\tCT.1\t1\t1\n", 1, -23, {}},
    {"its own end marker", std::string(kHeader) + "s\tCT.1\t<<EOL>>\t<<EOL>>\n", 1, -23, {}},
    {"an empty line", std::string(kGood) + "\n", 2, -23, {}},
};

TEST_P(ObjCache, RefusedFilesWriteNothingAndGiveTheirCode)
{
  for (const Refused& row : kRefused)
  {
    SCOPED_TRACE(row.oddity);
    clear();
    putMeta(row.text);
    if (row.count >= 0)
      putStudy(row.count);
    const Environment changed(row.variables);
    const LogFile log;
    EXPECT_EQ(touch(), kErrorStatus);
    const std::string code = std::to_string(row.code) + "\n";
    const bool fileIsBad = row.code <= -3 && row.code != -11 && row.code != -21;
    EXPECT_EQ(errorLines(log), "ObjCacheMgr ERROR importing object table for s: " + code + kErrorStatus + "\n" +
                                   (fileIsBad ? "Collecting objects for s from objmeta for adding error references "
                                                "failed: " +
                                                    code
                                              : ""));
    EXPECT_EQ(rows(), Lines());
    EXPECT_EQ(entry(), Lines{"2,1"});
  }
}

TEST_P(ObjCache, WhatIsMissingIsToldInTheLog)
{
  const std::string start = "debug ObjCacheMgr: ";
  const std::string status = start + "The meta repository status is ";
  {
    const LogFile log;
    EXPECT_EQ(touch(false), "");
    EXPECT_EQ(log.lines(), status + "4 for s \n" + start + "The meta repository is missing for s \n" + start +
                               "ObjCacheMgr importing object table is skipped due to missing object meta for s\n");
  }
  putMeta("");
  fs::remove(root / "meta/s/objectdb.meta");
  const LogFile log;
  EXPECT_EQ(touch(true), "");
  EXPECT_EQ(log.lines(), status + "0 for s \n" + start + "Objmeta file does not (yet) exist for s\n");
}

TEST_P(ObjCache, AStudyThatIsNoNameNeverLeavesTheRepository)
{
  std::ofstream(root / "objectdb.meta") << kHeader;
  for (const char* study : {"", ".", "..", "s/..", "/tmp"})
  {
    bool missing = false;
    EXPECT_EQ(ObjCacheMgr(db.get()).importFromMeta(study, missing), -3) << study;
    EXPECT_FALSE(missing) << study;
  }
}

TEST_P(ObjCache, WhatIsNoRegularFileIsNotWaitedFor)
{
  putMeta("");
  putStudy(0);
  const fs::path file = root / "meta/s/objectdb.meta";
  for (const std::function<void()>& make : {std::function<void()>([&] { mkfifo(file.c_str(), 0600); }),
                                            std::function<void()>([&] { fs::create_directory(file); }),
                                            std::function<void()>([&] { fs::create_symlink("/dev/zero", file); })})
  {
    fs::remove(file);
    make();
    bool missing = false;
    EXPECT_EQ(ObjCacheMgr(db.get()).importFromMeta("s", missing), -4);
  }
}

struct Thrown
{
  const char* oddity;
  std::string text;
  const char* reason; // what its text names
  Environment::Variables variables;
};

const std::vector<Thrown> kThrown = {
    {"column no identifier", "0\n3\nSTUDYUID\tFNAME\tX)--\ns\tCT.1\t1\n", "X)--", {}},
    {"column with a return", "0\n3\nSTUDYUID\tFNAME\tSERIESUID\r\ns\tCT.1\t1\r\n", "SERIESUID", {}},
    {"table no identifier", "0\n2\nSTUDYUID\tFNAME\ns\tCT.1\n", "objects;--", {{"OBJECTTBL", "objects;--"}}},
    {"unknown table", "0\n2\nSTUDYUID\tFNAME\ns\tCT.1\n", "nowhere", {{"OBJECTTBL", "nowhere"}}},
    {"unknown column", "0\n3\nSTUDYUID\tFNAME\tCOLOUR\ns\tCT.1\t1\n", "COLOUR", {}},
    {"column twice", "0\n3\nSTUDYUID\tFNAME\tFNAME\ns\tCT.1\tCT.1\n", "FNAME", {}},
    {"key column missing", "0\n1\nFNAME\nCT.1\n", "STUDYUID", {}},
    {"key NULL", "0\n2\nSTUDYUID\tFNAME\n<<NULL>>\tCT.1\n", "STUDYUID", {}},
    {"text for a number", "0\n3\nSTUDYUID\tFNAME\tIMGROWS\ns\tCT.1\t12abc\n", "IMGROWS", {}},
    {"UID too long", std::string(kHeader) + "s\tCT.1\t" + std::string(65, '1') + "\n", "SOPINSTUID", {}},
};

TEST_P(ObjCache, WhatTheDatabaseCannotTakeFailsTheImport)
{
  for (const Thrown& row : kThrown)
  {
    SCOPED_TRACE(row.oddity);
    clear();
    putMeta(row.text);
    putStudy(1);
    const Environment changed(row.variables);
    const LogFile log;
    const std::string start = "An exception caught while mapping Object table entries for s: ";
    EXPECT_EQ(touch(), kErrorStatus);
    EXPECT_EQ(errorLines(log).substr(0, start.size()), start);
    EXPECT_NE(errorLines(log).find(row.reason), std::string::npos) << errorLines(log);
    EXPECT_EQ(rows(), Lines());
    EXPECT_EQ(entry(), Lines{"2,1"});
  }
}

struct Taken
{
  const char* oddity;
  std::string rows;
  int count;
  Lines stored;
};

const std::vector<Taken> kTaken = {
    {"none", "", 0, {}},
    {"no newline at the end", "s\tCT.1\t1", 1, {"CT.1,1"}},
    {"the later of two", "s\tCT.1\t1\ns\tCT.0\t0\ns\tCT.1\t2\n", 2, {"CT.0,0", "CT.1,2"}},
    {"keys that a collation takes for one",
     "s\tCT.a\t1\ns\tCT.A\t2\ns\tCT.a+\t3\n",
     3,
     {"CT.A,2", "CT.a,1", "CT.a ,3"}},
    {"empty last field", "s\tCT.1\t\n", 1, {"CT.1,"}},
    {"NULL", "s\tCT.1\t<<NULL>>\n", 1, {"CT.1,NULL"}},
    {"escaped NULL is text", "s\tCT.1\t%3C<NULL>>\n", 1, {"CT.1,<<NULL>>"}},
    {"replacement character", "s\tCT.1\t%41%EF%BF%BD%EF%BF%BDx\n", 1, {"CT.1,A??x"}},
    {"replacement character in small letters", "s\tCT.1\t%ef%bf%bd\n", 1, {"CT.1,\xEF\xBF\xBD"}},
    {"bytes of no character set", "s\tCT.1\t%FF%80+%25\n", 1, {"CT.1,\xFF\x80 %"}},
    {"cut escape", "s\tCT.1\t12%4\n", 1, {"CT.1,12"}},
    {"key decoded in the table only", "s\tCT.%31\t1\ns\tCT.1\t1\n", 2, {"CT.1,1"}},
};

TEST_P(ObjCache, RowsAreStoredDecoded)
{
  for (const Taken& row : kTaken)
  {
    SCOPED_TRACE(row.oddity);
    clear();
    putMeta(kHeader + row.rows);
    putStudy(row.count);
    EXPECT_EQ(touch(), "");
    EXPECT_EQ(rows(), row.stored);
    EXPECT_EQ(entry(), Lines{"0,0"});
  }
}

TEST_P(ObjCache, RowsAreWrittenInBatchesThatStayEach)
{
  putStudy(301);
  execute("INSERT INTO objects(STUDYUID,FNAME,SOPINSTUID) VALUES ('s','CT.100000','before')");
  putMeta(metaText(300) + "s\tZ\t" + std::string(65, '1') + "\n");
  EXPECT_EQ(touch(), kErrorStatus);
  EXPECT_EQ(rows().size(), 300U);
  EXPECT_EQ(rows().front(), "CT.100000,before");
  EXPECT_EQ(entry(), Lines{"2,1"});

  ArchiveAdmin(*db).clearError("s");
  putMeta(metaText(301));
  intercepted.updates.clear();
  EXPECT_EQ(touch(), "");
  EXPECT_EQ(rows().size(), 301U);
  std::string first = "INSERT INTO objects(STUDYUID,FNAME,SOPINSTUID) VALUES (?,?,?)";
  const std::string last = " ON DUPLICATE KEY UPDATE FNAME=FNAME";
  const std::string second = first + last;
  for (int row = 1; row < 300; ++row)
    first += ",(?,?,?)";
  ASSERT_EQ(intercepted.updates.size(), 3U); // and the status
  EXPECT_EQ(intercepted.updates[0], first + last);
  EXPECT_EQ(intercepted.updates[1], second);
}

TEST_P(ObjCache, MoreColumnsThanAStatementTakesForThreeHundredRows)
{
  constexpr int kColumns = 219;
  std::string table = "CREATE TABLE wide (STUDYUID VARCHAR(64), FNAME VARCHAR(64) PRIMARY KEY";
  std::string text = "0\n" + std::to_string(kColumns) + "\nSTUDYUID\tFNAME";
  for (int column = 2; column < kColumns; ++column)
  {
    table += ",C" + std::to_string(column) + " INT";
    text += "\tC" + std::to_string(column);
  }
  text += "\n";
  for (int row = 0; row < 300; ++row)
  {
    text += "s\t" + std::to_string(row);
    for (int column = 2; column < kColumns; ++column)
      text += "\t1";
    text += "\n";
  }
  execute(table + ")");
  putStudy(300);
  putMeta(text);
  const ScopedEnvironment variable("OBJECTTBL", "wide");
  EXPECT_EQ(touch(), "");
  EXPECT_EQ(select("SELECT COUNT(*) FROM wide", 1), Lines{"300"});
}

TEST_P(ObjCache, RowsThatRunOutAreAProblem)
{
  ObjMeta meta;
  bool missing = false;
  putMeta(kGood);
  ASSERT_EQ(meta.read(root / "meta/s/objectdb.meta", missing), kImported);
  meta.rowCount = 3;
  std::ostringstream out, error;
  const tarn::ConsoleScope console(out, error);
  EXPECT_EQ(ObjMetaInsert(*db, "objects", meta).run(), -32);
  EXPECT_EQ(error.str(), "ObjCacheMgr PROBLEM: 32\n");
  EXPECT_EQ(rows(), Lines());
}

enum Before
{
  kPlain = 0,
  kReferenced = 1, // the study carries the reference already
  kRequired = 2,   // the study requires its meta file
  kNoCheck = 4     // metaRequiredCheck is false
};

struct State
{
  const char* oddity;
  const char* entry; // STATUS,ERROR
  const char* text;  // of the meta file
  int before;
  const char* message;
  Lines entryAfter;
  int references; // 0: none, 1: of the study alone, 2: of its objects too
};

const char kUnmap[] = "The Object Cache entry is marked for unmap for s";
const std::vector<State> kStates = {
    {"absent, import", nullptr, kGood, kPlain, "", {"0,0"}, 0},
    {"absent, import fails", nullptr, kBad, kPlain, kErrorStatus, {"2,1"}, 2},
    {"absent, import fails, forced", nullptr, kBad, kReferenced, kErrorStatus, {"2,1"}, 2},
    {"absent, missing, no check", nullptr, nullptr, kRequired | kNoCheck, "", {}, 0},
    {"absent, missing, not required", nullptr, nullptr, kPlain, "", {"0,0"}, 0},
    {"absent, missing, required", nullptr, nullptr, kRequired, kErrorStatus, {"2,1"}, 1},
    {"valid", "0,0", kBad, kRequired, "", {"0,0"}, 0},
    {"valid with the flag", "0,1", kBad, kPlain, "", {"0,1"}, 0},
    {"unmap", "1,0", kGood, kPlain, kUnmap, {"1,0"}, 2},
    {"unmap with the flag, forced", "1,1", kGood, kReferenced, kUnmap, {"1,1"}, 2},
    {"error", "2,1", kGood, kPlain, kErrorStatus, {"2,1"}, 2},
    {"error, referenced", "2,1", kGood, kReferenced, kErrorStatus, {"2,1"}, 1},
    {"error without the flag", "2,0", kGood, kPlain, "", {"0,0"}, 0},
    {"flag alone", "3,1", kGood, kReferenced, kErrorStatus, {"3,1"}, 1},
    {"to be mapped", "3,0", kGood, kPlain, "", {"0,0"}, 0},
    {"to be mapped, fails", "3,0", kBad, kPlain, kErrorStatus, {"2,1"}, 2},
    {"to be mapped, fails, referenced", "-1,0", kBad, kReferenced, kErrorStatus, {"2,1"}, 1},
    {"to be mapped, missing, no check", "3,0", nullptr, kNoCheck, "", {"3,0"}, 0},
    {"to be mapped, missing, required", "3,0", nullptr, kRequired, kErrorStatus, {"2,1"}, 1},
};

TEST_P(ObjCache, StatesOfTheEntry)
{
  const Lines references[] = {{}, {"STUDYDIR,s"}, {"OBJECTFILE,s/CT.1", "STUDYDIR,s"}};
  for (const State& row : kStates)
  {
    SCOPED_TRACE(row.oddity);
    clear();
    if (row.text)
      putMeta(row.text);
    putStudy(2, row.before & kRequired);
    if (row.entry)
      execute(std::string("INSERT INTO object_cache VALUES ('s',") + row.entry + ",'2024-01-31 23:59:59')");
    if (row.before & kReferenced)
      db->references().addReference("s", "STUDYDIR", "ocerror");
    EXPECT_EQ(touch(!(row.before & kNoCheck)), row.message);
    EXPECT_EQ(entry(), row.entryAfter);
    Lines expected = references[row.references];
    if (row.text == kGood && row.references == 2)
      expected.insert(expected.begin() + 1, "OBJECTFILE,s/CT.2");
    EXPECT_EQ(this->references(), expected);
  }
}

TEST_P(ObjCache, ReferencesGoToAllThatIsKnownOfTheStudy)
{
  const std::string refused(320, 'x'); // with the study, longer than a reference's key
  putMeta(std::string(kHeader) + "s\tCT.meta\t1\ns\t" + refused + "\t1\nbad\n");
  execute("INSERT INTO objects(STUDYUID,FNAME) VALUES ('s','CT.row')");
  for (const char* file : {"s/CT.file", "s_dead1/CT.dead1", "s_dead2/CT.dead2", "s_dead4/CT.dead4", "t/CT.other"})
  {
    fs::create_directories((root / "data" / file).parent_path());
    std::ofstream(root / "data" / file) << "x";
  }
  const LogFile log;
  ObjCacheMgr(db.get()).addErrorRefs("s");
  EXPECT_EQ(references(), (Lines{"OBJECTFILE,s/CT.dead1", "OBJECTFILE,s/CT.dead2", "OBJECTFILE,s/CT.file",
                                 "OBJECTFILE,s/CT.meta", "OBJECTFILE,s/CT.row", "STUDYDIR,s"}));
  const std::string data = (root / "data").string();
  std::string expected = "info ObjCacheMgr: Adding ocerror references to s\n"
                         "debug ObjCacheMgr: The meta repository status is 0 for s \n"
                         "error ObjCacheMgr: Collecting objects for s from objmeta for adding error references failed: "
                         "-23\n";
  for (const std::string name : {"s", "s_dead1", "s_dead2"})
  {
    expected += "debug ObjCacheMgr: Getting repository locations for " + name;
    expected += " returned 1 locations (status: 32)\ndebug ObjCacheMgr: Getting object files for " + name;
    expected += " from " + data;
    expected += "/" + name;
    expected += "\n";
  }
  expected += "debug ObjCacheMgr: Getting repository locations for s_dead3 returned 0 locations (status: 4)\n"
              "error ObjCacheMgr: Adding error references to OBJECTFILE/s/" +
              refused + " failed with exception: ";
  EXPECT_EQ(log.lines().substr(0, expected.size()), expected);
}

TEST_P(ObjCache, ADatabaseThatFailsBecomesTheOneException)
{
  putMeta(kGood);
  putStudy(2);
  const std::string start = "An exception caught while checking/updating Object Cache entry for s: ";
  execute("DROP TABLE object_references");
  {
    const LogFile log;
    execute("INSERT INTO object_cache VALUES ('s',2,1,'2024-01-31 23:59:59')");
    EXPECT_EQ(touch(), kErrorStatus);
    const std::string errors = errorLines(log);
    for (const char* line : {"checking ocerror references on STUDYDIR/s failed with exception: ",
                             "\nAdding error references to OBJECTFILE/s/CT.1 failed with exception: ",
                             "\nAdding error references to OBJECTFILE/s/CT.2 failed with exception: ",
                             "\nAdding error references to STUDYDIR/s failed with exception: "})
      EXPECT_NE(errors.find(line), std::string::npos) << errors;
  }
  execute("DROP TABLE object_cache");
  EXPECT_EQ(touch().substr(0, start.size()), start);
  const ScopedEnvironment table("QXOBJCACHETBL", std::string(2000, 'x'));
  db = open();
  EXPECT_EQ(touch().size(), 1022U);
}

TEST_P(ObjCache, ALockThatIsNotObtainedAddsNoReference)
{
  intercepted.lockTimesOut = true;
  const std::string start = "Could not get lock to check/update Object Cache entry for ";
  EXPECT_EQ(touch(), start + "s");
  EXPECT_EQ(intercepted.lockArguments, (std::vector<float>{30000, 10.0F, 1.5F, 1000.0F, 0.4F}));
  EXPECT_EQ(touch(true, std::string(300, '1')), (start + std::string(300, '1')).substr(0, 254));
  EXPECT_EQ(references(), Lines());
  putMeta(kGood);
  putStudy(2);
  execute("INSERT INTO object_cache VALUES ('s',0,0,'2024-01-31 23:59:59')");
  EXPECT_EQ(touch(), "") << "a valid entry needs no lock";
}

TEST_P(ObjCache, ProcessesStartedTogetherImportOnce)
{
  constexpr int kProcesses = 32;
  constexpr int kRows = 2000;
  putMeta(metaText(kRows));
  putStudy(kRows);
  const LogFile log;
  int gate[2];
  ASSERT_EQ(pipe(gate), 0);
  std::vector<pid_t> children;
  for (int number = 0; number < kProcesses; ++number)
    if (const pid_t child = fork(); child == 0)
    {
      char byte = 0;
      close(gate[1]);
      const bool opened = read(gate[0], &byte, 1) == 0; // its end opens the gate
      (void)db.release();                               // the parent's connection is not ours to close
      db = open();
      const bool touched = opened && touch().empty() && rows().size() == kRows;
      db.reset();
      _exit(touched ? 0 : 1);
    }
    else
      children.push_back(child);
  close(gate[0]);
  close(gate[1]);
  for (const pid_t child : children)
  {
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  const std::string lines = log.lines();
  const std::string import = "The meta repository status is 0 for s ";
  EXPECT_NE(lines.find(import), std::string::npos);
  EXPECT_EQ(lines.find(import), lines.rfind(import)) << "one of them imports";
}

class Interrupted : public ObjCache
{
protected:
  static constexpr int kRows = 10000;
  Interrupted()
  {
    putMeta(metaText(kRows));
    putStudy(kRows);
  }
  /// In the middle of the import, before a batch.
  static void at(int batch, const std::function<void()>& action)
  {
    intercepted.beforeUpdate = [batch, action]
    {
      if (static_cast<int>(intercepted.updates.size()) == batch)
        action();
    };
  }
  void expectRecovery()
  {
    intercepted = {};
    EXPECT_EQ(entry(), Lines()) << "the entry says nothing of an import that was not finished";
    EXPECT_EQ(rows().size(), 9U * 300U);
    EXPECT_EQ(touch(), "");
    EXPECT_EQ(entry(), Lines{"0,0"});
    EXPECT_EQ(rows().size(), static_cast<std::size_t>(kRows));
  }
};

INSTANTIATE_TEST_SUITE_P(On, Interrupted, testing::Values("SQLite", "MariaDB"),
                         [](const auto& database) { return std::string(database.param); });

TEST_P(Interrupted, AKilledProcessIsMadeGoodByTheNextOne)
{
  const pid_t child = fork();
  if (child == 0)
  {
    (void)db.release();
    db = open();
    at(10, [] { raise(SIGKILL); });
    touch();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
  expectRecovery();
}

using InterruptedServer = Interrupted;
INSTANTIATE_TEST_SUITE_P(On, InterruptedServer, testing::Values("MariaDB"));

TEST_P(InterruptedServer, AServerThatCrashesAndComesBackIsNotSilentlyUsed)
{
  at(10, [] { server().restart(); });
  const std::string start = "An exception caught while checking/updating Object Cache entry for s: ";
  EXPECT_EQ(touch().substr(0, start.size()), start) << "the lock was lost with the connection";
  db = open();
  expectRecovery();
}

} // namespace
