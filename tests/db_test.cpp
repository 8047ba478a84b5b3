#include "db/ArchiveAdmin.h"
#include "db/DBConnectorSql.h"
#include "db/DBException.h"
#include "tests/support/Environment.h"
#include "base/IMException.h"
#include "db/IMSemaphoreGlobal.h"
#include "tests/support/MariaDbServer.h"
#include "db/ObjCacheAccessor.h"
#include "db/ObjectAccessor.h"
#include "db/ReferenceAccessor.h"
#include "db/TmpPSCache.h"
#include "tests/support/SqlText.h"
#include "tests/support/TempDir.h"
#include "db/Transaction.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <tuple>

namespace tarn::db
{
namespace
{

namespace fs = std::filesystem;
using namespace std::string_literals;
using imutils::IMSemaphoreGlobal;
using imutils::IMTimeoutException;

using Lines = std::vector<std::string>;

void insert(DBConnectorSql& db, const std::string& columns, const std::string& values)
{
  select(db, "INSERT INTO objects(" + columns + ") VALUES " + values);
}

void lock(IMSemaphoreGlobal& semaphore, int timeout)
{
  semaphore.lock_ms(timeout, 1, 1.5, 20, 0.4F);
}

class Database : public testing::TestWithParam<const char*>
{
protected:
  Database() { db->createTables(); }
  static bool isServer() { return GetParam() == "mariadb"s; }
  static std::unique_ptr<DBConnectorSql> open() { return DBConnectorSql::open(Missing::create); }
  std::string text(const std::string& sql) { return select(*db, sql).at(0); }

  const TempDir folder;
  const Environment url{
      {{"TARN_DB_URL", isServer() ? MariaDbServer::shared().createDatabase() : "sqlite:" + folder / "archive.db"}}};
  std::unique_ptr<DBConnectorSql> db = open();
};

INSTANTIATE_TEST_SUITE_P(Backends, Database, testing::Values("sqlite", "mariadb"),
                         [](const auto& row) { return row.param; });

TEST_P(Database, KeepsKeysAndValuesAsBytes)
{
  // In byte order, which is the order of the list.
  const Lines names{"", "A", "a", "a ", "aB", "b", "\x80", "\xC3\xA1", "\xE9 Latin-1", "\xFF\xFE"};
  ObjectRecord record;
  for (const std::string& name : names)
  {
    insert(*db, "STUDYUID,FNAME,SOPINSTUID,IMGCOLUMNS,IMGROWS,IMGFRAMES", "('1','" + name + "','" + name + "',5,2,3)");
    ASSERT_TRUE(db->objects().findObject("1", name, record)) << name;
    EXPECT_EQ(record.sopInstanceUid, name);
    EXPECT_EQ((std::vector{record.columns, record.rows, record.frames}), (std::vector{5, 2, 3}));
  }
  std::list<std::string> files;
  db->objCache().listObjCacheFiles("1", files);
  EXPECT_EQ(Lines(files.begin(), files.end()), names);
}

TEST_P(Database, ReadsWhatIsNullAsEmpty)
{
  ObjectRecord record;
  insert(*db, "STUDYUID,FNAME,SOPCLASSUID,IMGCOLUMNS", "('9','CT.1',NULL,NULL)");
  EXPECT_FALSE(db->objects().findObject("9 ", "CT.1", record));
  ASSERT_TRUE(db->objects().findObject("9", "CT.1", record));
  EXPECT_EQ(record.sopClassUid + record.sopInstanceUid + record.seriesInstanceUid, "");
  EXPECT_EQ((std::vector{record.columns, record.rows, record.frames}), (std::vector{0, 0, 0}));
}

struct RefusedRow
{
  const char* fact;
  std::string study, file, rows = "1";
};

TEST_P(Database, RefusesWhatTheOtherRefuses)
{
  const std::string longestStudy(64, '1'), longestFile(255, 'f');
  const RefusedRow rows[] = {
      {"65 characters", longestStudy + "1", "f"},
      {"a blank behind 255", "1", longestFile + " "},
      {"128 characters in 256 bytes", "1", std::string(255, '\xC3') + "\xA1"},
      {"no number in the second row", "1", "f", "1'),('1','g','x"},
      {"an empty number", "1", "f", ""},
      {"a fraction", "1", "f", "12.5"},
      {"above 32 bits", "1", "f", "2147483648"},
      {"below 32 bits", "1", "f", "-2147483649"},
  };
  const auto put = [&](const RefusedRow& row)
  { insert(*db, "STUDYUID,FNAME,IMGROWS", "('" + row.study + "','" + row.file + "','" + row.rows + "')"); };
  for (const RefusedRow& row : rows)
    EXPECT_THROW(put(row), DBException) << row.fact;
  EXPECT_THROW(insert(*db, "STUDYUID,FNAME", "('1',NULL)"), DBException);
  EXPECT_THROW(insert(*db, "STUDYUID,FNAME,rowid", "('1','f','1')"), DBException);
  EXPECT_EQ(text("SELECT COUNT(*) FROM objects"), "0") << "a part of a statement stands";
  put({"the longest", longestStudy, longestFile});
}

/// What comes back of a value that is bound so, "NULL" for one; "refused" where the statement does not run.
std::string bound(DBConnectorSql& db, enum_field_types type, SignedFlag sign, const void* buffer, bool isNull = false)
{
  select(db, "DELETE FROM objects");
  TmpPSCache statement(db, "INSERT INTO objects(STUDYUID,FNAME,SOPCLASSUID) VALUES ('1','f',?)", 1, 0);
  const auto bindings = statement.query().mkBindings();
  const unsigned long three = 3;
  bindings->bindParam(0, type, buffer, 6, &three, &isNull, sign);
  try
  {
    statement.executeUpdate(statement.query(), *bindings, true);
    return select(db, "SELECT SOPCLASSUID FROM objects").at(0);
  }
  catch (const DBException&)
  {
    return "refused";
  }
}

TEST_P(Database, BindsEveryType)
{
  const std::int8_t tiny = -128;
  const std::int16_t small = -32768;
  const std::int32_t usual = -2147483647 - 1;
  const auto large = std::numeric_limits<std::int64_t>::min(), largest = std::numeric_limits<std::int64_t>::max();
  std::vector<std::tuple<enum_field_types, const void*, const char*, const char*>> rows = {
      {MYSQL_TYPE_TINY, &tiny, "-128", "128"},
      {MYSQL_TYPE_SHORT, &small, "-32768", "32768"},
      {MYSQL_TYPE_LONG, &usual, "-2147483648", "2147483648"},
      {MYSQL_TYPE_LONGLONG, &large, "-9223372036854775808", "refused"},
      {MYSQL_TYPE_LONGLONG, &largest, "9223372036854775807", "9223372036854775807"},
  };
  for (const auto type : {MYSQL_TYPE_STRING, MYSQL_TYPE_VAR_STRING, MYSQL_TYPE_VARCHAR, MYSQL_TYPE_TINY_BLOB,
                          MYSQL_TYPE_BLOB, MYSQL_TYPE_MEDIUM_BLOB, MYSQL_TYPE_LONG_BLOB})
    rows.emplace_back(type, "abcdef", "abc", "abc");
  for (const auto& [type, value, asSigned, asUnsigned] : rows)
  {
    EXPECT_EQ(bound(*db, type, SignedFlag::Signed, value), asSigned);
    EXPECT_EQ(bound(*db, type, SignedFlag::Unsigned, value), asUnsigned);
    EXPECT_EQ(bound(*db, type, SignedFlag::Signed, value, true), "NULL");
  }
  EXPECT_EQ(bound(*db, MYSQL_TYPE_NULL, SignedFlag::Signed, nullptr), "NULL");
  EXPECT_EQ(bound(*db, MYSQL_TYPE_DATETIME, SignedFlag::Signed, "x"), "refused");
}

TEST_P(Database, RefusesAStatementThatDoesNotFitItsValues)
{
  TmpPSCache unbound(*db, "SELECT ?", 1, 1);
  EXPECT_THROW(unbound.executeUpdate(unbound.query(), *unbound.query().mkBindings(), true), DBException);
  EXPECT_THROW(TmpPSCache(*db, "SELECT 1,2", 0, 1), DBException);
  EXPECT_THROW(unbound.query().mkBindings()->bindParam(1, MYSQL_TYPE_NULL, nullptr, 0), DBException);
  EXPECT_THROW(db->query("SELECT ?"), DBException);
  EXPECT_THROW(db->query("SELECT 1", 1), DBException);
}

TEST_P(Database, ReadsARowByIndex)
{
  const SqlRow row = db->query("SELECT ?,?,NULL,2147483648,'1x'", "text", -5).at(0);
  EXPECT_EQ(row.text(0) + row.text(1) + row.text(2), "text-5");
  EXPECT_EQ((std::vector{row.number(1), row.number(2)}), (std::vector{-5, 0}));
  EXPECT_EQ((std::vector{row.columns[1].has_value(), row.columns[2].has_value()}), (std::vector{true, false}));
  EXPECT_THROW((void)row.number(3), DBException) << "33 bits";
  EXPECT_THROW((void)row.number(4), DBException) << "no number";
  EXPECT_THROW((void)row.text(5), DBException);
}

TEST_P(Database, FetchesLongReferencesBetweenShortOnes)
{
  const Lines keys{"a", std::string(320, 'b'), "c", std::string(300, 'd')};
  for (const std::string& key : {keys[0], keys[1], keys[2], keys[3], keys[0]})
    db->references().addReference(key, "STUDYDIR", "x");
  EXPECT_EQ(select(*db, "SELECT REFKEY FROM object_references ORDER BY REFKEY"), keys) << "each is there once";
  EXPECT_THROW(db->references().addReference(std::string(321, 'x'), "STUDYDIR", "x"), DBException);
  EXPECT_TRUE(db->references().hasReference("a", "STUDYDIR", "x"));
  EXPECT_FALSE(db->references().hasReference("a", "OBJECTFILE", "x"));
  EXPECT_FALSE(db->references().hasReference("a", "STUDYDIR", "X"));
}

/// A study's objects by its row, rows, references, entries.
std::vector<int> shown(ArchiveAdmin& admin, const char* study)
{
  const StudyState state = admin.studyState(study);
  return {state.row ? state.row->objectCount : -1, state.objectRows, state.references, state.entry ? 1 : 0};
}

TEST_P(Database, AdministersOneStudyAndLeavesItsNeighbours)
{
  ArchiveAdmin admin(*db);
  for (const std::string study : {"1.1", "1.2", "1.20", "1.2.3"})
  {
    admin.putStudy(study, 5, true);
    insert(*db, "STUDYUID,FNAME", "('" + study + "','CT.1'),('" + study + "','CT.2')");
    db->objCache().setObjCacheStatus(study, kObjCacheError);
    for (const char* name : {"ocerror", "keep"})
      db->references().addReference(study, "STUDYDIR", name);
    db->references().addReference(study + "/CT.1", "OBJECTFILE", "ocerror");
  }
  admin.clearError("1.2");
  EXPECT_EQ(shown(admin, "1.2"), (std::vector{5, 2, 1, 0}));
  admin.registerStudy("1.1", 7, false);
  EXPECT_EQ(shown(admin, "1.1"), (std::vector{7, 0, 1, 0}));
  db->objCache().setObjCacheStatus("1.2", kObjCacheValid);
  admin.removeStudy("1.2");
  EXPECT_EQ(shown(admin, "1.2"), (std::vector{-1, 0, 0, 0}));
  for (const char* neighbour : {"1.20", "1.2.3"})
    EXPECT_EQ(shown(admin, neighbour), (std::vector{5, 2, 3, 1}));
  EXPECT_THROW(admin.putStudy("1.20", -1, true), DBException);
  EXPECT_EQ(admin.listStudies(), (std::list<std::string>{"1.1", "1.2.3", "1.20"}));
}

TEST_P(Database, UsesTheTablesThatTheEnvironmentNames)
{
  const auto create = [] { open()->createTables(); };
  for (const std::string name : {"x; DROP TABLE studies", "9a"})
  {
    const ScopedEnvironment objects("OBJECTTBL", name);
    EXPECT_THROW(create(), DBException) << name;
  }
  const ScopedEnvironment objects("OBJECTTBL", "my_objects9"), entries("QXOBJCACHETBL", "_cache");
  create();
  open()->objCache().setObjCacheStatus("1", 0);
  EXPECT_FALSE(db->objCache().isObjCacheValid("1"));
  EXPECT_EQ(text("SELECT COUNT(*) FROM _cache") + text("SELECT COUNT(*) FROM my_objects9"), "10");
}

TEST_P(Database, RollsBackWhatIsNotCommitted)
{
  for (const bool commit : {false, true})
  {
    Transaction transaction(*db);
    db->references().addReference("1", "STUDYDIR", commit ? "kept" : "dropped");
    EXPECT_THROW(Transaction{*db}, DBException) << "one in the other";
    if (commit)
      transaction.commit();
  }
  EXPECT_EQ(select(*open(), "SELECT NAME FROM object_references"), Lines{"kept"});
}

TEST_P(Database, LocksBetweenConnections)
{
  const auto other = open();
  const std::string start = "OBJCACHE_" + std::string(63, '1'); // hashed where 64 is the limit
  constexpr auto kShared = fs::perms{0660};
  if (!isServer())
    fs::permissions(folder / "archive.db", kShared);
  {
    IMSemaphoreGlobal first(start + "2", db.get()), again(start + "2", db.get()), blocked(start + "2", other.get());
    IMSemaphoreGlobal otherName(start + "3", other.get()), oddName("../a b/%", other.get());
    for (IMSemaphoreGlobal* free : {&first, &first, &again, &otherName, &oddName})
      lock(*free, 0);
    EXPECT_THROW(lock(blocked, 50), IMTimeoutException);
    EXPECT_TRUE(isServer() || fs::status(folder / "archive.db-lock").permissions() == kShared);
  }
  IMSemaphoreGlobal second(start + "2", other.get()), late(start + "2", db.get());
  lock(second, 0);
  EXPECT_THROW(lock(late, 0), IMTimeoutException);
}

} // namespace
} // namespace tarn::db
