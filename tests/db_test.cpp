#include "db/ArchiveAdmin.h"
#include "db/DBConnectorSql.h"
#include "db/DBException.h"
#include "tests/support/Environment.h"
#include "tests/support/Files.h"
#include "base/IMException.h"
#include "db/IMSemaphoreGlobal.h"
#include "tests/support/MariaDbServer.h"
#include "db/MetaAccessor.h"
#include "db/ObjCacheAccessor.h"
#include "db/ObjectAccessor.h"
#include "tests/support/Processes.h"
#include "db/ReferenceAccessor.h"
#include "db/TmpPSCache.h"
#include "tests/support/SqlText.h"
#include "tests/support/TempDir.h"
#include "db/Transaction.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <regex>
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
    insert(*db, "STUDYUID,FNAME,SOPINSTUID,IMGCOLUMNS,IMGROWS,IMGFRAMES", "('1','" + name + "','" + name + "',5,2,3)");
  for (const std::string& name : names)
  {
    ASSERT_TRUE(db->objects().findObject("1", name, record)) << name;
    EXPECT_EQ(record.sopInstanceUid, name);
    EXPECT_EQ((std::vector{record.columns, record.rows, record.frames}), (std::vector{5, 2, 3}));
  }
  std::list<std::string> files;
  db->objCache().listObjCacheFiles("1", files);
  EXPECT_EQ(Lines(files.begin(), files.end()), names);

  insert(*db, "STUDYUID,FNAME,SOPCLASSUID,IMGCOLUMNS", "('9','CT.1',NULL,NULL)");
  EXPECT_FALSE(db->objects().findObject("9 ", "CT.1", record));
  EXPECT_EQ(record.sopInstanceUid, names.back()) << "left alone";
  ASSERT_TRUE(db->objects().findObject("9", "CT.1", record));
  EXPECT_EQ(record.sopClassUid + record.sopInstanceUid + record.seriesInstanceUid, "");
  EXPECT_EQ((std::vector{record.columns, record.rows, record.frames}), (std::vector{0, 0, 0}));
}

TEST_P(Database, RefusesWhatTheOtherRefuses)
{
  const std::string tooWide = std::string(255, '\xC3') + "\xA1"; // 128 characters in 256 bytes
  const std::pair<const char*, std::string> rows[] = {
      {"STUDYUID,FNAME", "('" + std::string(65, '1') + "','f')"},
      {"STUDYUID,FNAME", "('1','" + std::string(255, 'f') + " ')"},
      {"STUDYUID,FNAME", "('1','" + tooWide + "')"},
      {"STUDYUID,FNAME", "('1',NULL)"},
      {"STUDYUID,FNAME,rowid", "('1','f','1')"},
      {"STUDYUID,FNAME,IMGROWS", "('1','f','1'),('1','g','x')"},
      {"STUDYUID,FNAME,IMGROWS", "('1','f','')"},
      {"STUDYUID,FNAME,IMGROWS", "('1','f','12.5')"},
      {"STUDYUID,FNAME,IMGROWS", "('1','f','2147483648')"},
      {"STUDYUID,FNAME,IMGROWS", "('1','f','-2147483649')"},
  };
  for (const auto& [columns, values] : rows)
    EXPECT_THROW(insert(*db, columns, values), DBException) << columns << values;
  EXPECT_EQ(text("SELECT COUNT(*) FROM objects"), "0") << "a part of a statement stands";
  insert(*db, "STUDYUID,FNAME", "('" + std::string(64, '1') + "','" + std::string(255, 'f') + "')");
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

TEST_P(Database, BindsNumbersOfEveryWidth)
{
  const std::int8_t tiny = -128;
  const std::int16_t small = -32768;
  const std::int32_t usual = -2147483647 - 1;
  const std::int64_t large = std::numeric_limits<std::int64_t>::min(),
                     largest = std::numeric_limits<std::int64_t>::max();
  const std::tuple<enum_field_types, const void*, const char*, const char*> rows[] = {
      {MYSQL_TYPE_TINY, &tiny, "-128", "128"},
      {MYSQL_TYPE_SHORT, &small, "-32768", "32768"},
      {MYSQL_TYPE_LONG, &usual, "-2147483648", "2147483648"},
      {MYSQL_TYPE_LONGLONG, &large, "-9223372036854775808", "refused"},
      {MYSQL_TYPE_LONGLONG, &largest, "9223372036854775807", "9223372036854775807"},
  };
  for (const auto& [type, number, asSigned, asUnsigned] : rows)
  {
    EXPECT_EQ(bound(*db, type, SignedFlag::Signed, number), asSigned);
    EXPECT_EQ(bound(*db, type, SignedFlag::Unsigned, number), asUnsigned);
    EXPECT_EQ(bound(*db, type, SignedFlag::Signed, number, true), "NULL");
  }
}

TEST_P(Database, BindsBytesOfEveryTypeAndRefusesOtherTypes)
{
  for (const enum_field_types type :
       {MYSQL_TYPE_STRING, MYSQL_TYPE_VAR_STRING, MYSQL_TYPE_VARCHAR, MYSQL_TYPE_TINY_BLOB, MYSQL_TYPE_BLOB,
        MYSQL_TYPE_MEDIUM_BLOB, MYSQL_TYPE_LONG_BLOB})
  {
    EXPECT_EQ(bound(*db, type, SignedFlag::Signed, "abcdef"), "abc") << type;
    EXPECT_EQ(bound(*db, type, SignedFlag::Signed, "abcdef", true), "NULL") << type;
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
  // Objects of the row, rows, references, entries.
  const auto shown = [&](const char* study)
  {
    const StudyState state = admin.studyState(study);
    return std::vector{state.row ? state.row->objectCount : -1, state.objectRows, state.references,
                       state.entry ? 1 : 0};
  };
  admin.clearError("1.2");
  EXPECT_EQ(shown("1.2"), (std::vector{5, 2, 1, 0}));
  admin.registerStudy("1.1", 7, false);
  EXPECT_EQ(shown("1.1"), (std::vector{7, 0, 1, 0}));
  db->objCache().setObjCacheStatus("1.2", kObjCacheValid);
  admin.removeStudy("1.2");
  EXPECT_EQ(shown("1.2"), (std::vector{-1, 0, 0, 0}));
  for (const char* neighbour : {"1.20", "1.2.3"})
    EXPECT_EQ(shown(neighbour), (std::vector{5, 2, 3, 1}));
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

TEST(LostConnection, IsAnExceptionAndNeverRenewed)
{
  const TempDir folder;
  put(folder / ".my.cnf", "[annomend]\nreconnect=1\n");
  const Environment environment{{{"HOME", folder.path()}, {"TARN_DB_URL", MariaDbServer::shared().createDatabase()}}};
  const auto db = DBConnectorSql::open(Missing::refuse);
  db->createTables();
  IMSemaphoreGlobal held("OBJCACHE_1", db.get());
  lock(held, 0);
  ObjectRecord record;
  EXPECT_FALSE(db->objects().findObject("1", "f", record));
  MariaDbServer::shared().run("KILL " + select(*db, "SELECT CONNECTION_ID()").at(0));
  EXPECT_THROW((void)db->objects().findObject("1", "f", record), DBException) << "the lock was lost unnoticed";
  EXPECT_THROW(db->references().addReference("1", "STUDYDIR", "x"), DBException);
}

/// Why a database cannot be opened, as it stands after its URL; empty where it can. "<given|shown>" is what of the URL
/// is shown in another way.
std::string refusalOf(const std::string& url, const std::string& home = "/", const std::string& passwordFile = "")
{
  static const std::regex mark("<([^|]*)[|](.*)>");
  const Environment environment{
      {{"TARN_DB_URL", std::regex_replace(url, mark, "$1")}, {"HOME", home}, {"TARN_DB_PASSWORD_FILE", passwordFile}}};
  try
  {
    DBConnector::createConnector();
    return "";
  }
  catch (const DBException& failure)
  {
    const std::string text = failure.what();
    const std::string start = "cannot open database " + std::regex_replace(url, mark, "$2") + ": ";
    return text.rfind(start, 0) == 0 ? text.substr(start.size()) : text;
  }
}

TEST(DatabaseUrl, RefusalsNameTheUrlWithoutItsPassword)
{
  const TempDir folder;
  put(folder / "text", "this is no database, whatever its length may be, and has no header of one");
  const std::pair<std::string, std::string> rows[] = {
      {"mysql<:u:secret|>@h/d", "it starts with neither mysql:// nor sqlite:"},
      {"mysql://<:secret|>@h/d", "it names no user"},
      {"mysql://u<:sec/ret|>@h/d", "it names no user"},
      {"mysql://u@x<:secret|>@/d", "it names no host"},
      {"mysql://u<:secret|>@h/", "it names no database"},
      {"mysql://u<:secret|>@h/d/e", "a '/' or '@' within a name is written %2F or %40"},
      {"mysql://u@h:65536/d", "the port is no number from 1 to 65535"},
      {"mysql://u@[::1]x/d", "the port is no number from 1 to 65535"},
      {"mysql://u<:se%zzcret|>@h/d", "a '%' is not followed by two hexadecimal digits"},
      {"mysql://u@h/d%4", "a '%' is not followed by two hexadecimal digits"},
      {"mysql://u%00@h/d", "it holds a NUL"},
      {"mysql://u@h/d?socket=/s&<pw=secret|...>", "a parameter is none of socket, ssl-ca and defaults-group"},
      {"mysql://u@h/d?socket=", "a parameter has no value"},
      {"mysql://u@h/d<\n|\\x0A>", "cannot connect: Unknown server host 'h' (-2)"},
      {"mysql://u<:secret|>@localhost/d?socket=/nowhere/s",
       "cannot connect: Can't connect to local server through socket '/nowhere/s' (2)"},
      {"sqlite:", "it names no file"},
      {"sqlite:" + folder / "missing", "cannot open the file: No such file or directory"},
      {"sqlite:/", "cannot open the file: Is a directory"},
      {"sqlite:" + folder / "text", "cannot enter WAL mode: file is not a database"},
  };
  for (const auto& [url, reason] : rows)
    EXPECT_EQ(refusalOf(url), reason) << url;
}

TEST(DatabaseUrl, TakesThePasswordFromWhereItIsKept)
{
  const TempDir folder;
  put(folder / ".my.cnf", "[annomend]\npassword=s/e:c@r%t\n[other]\npassword=wrong-secret\n");
  put(folder / "password", "s/e:c@r%t\n");
  put(folder / "empty", "");
  MariaDbServer::shared().run("CREATE OR REPLACE USER 'a b'@localhost IDENTIFIED BY 's/e:c@r%t'");
  const std::string place = "@localhost/information_schema?socket=" + MariaDbServer::shared().socket();
  const std::string name = "mysql://a%20b" + place;
  const std::string denied = "cannot connect: Access denied for user 'a b'@'localhost' (using password: ";
  EXPECT_EQ(refusalOf("mysql://a%20b:s%2Fe%3Ac%40r%25t" + place), "");
  EXPECT_EQ(refusalOf(name, folder / ""), "");
  EXPECT_EQ(refusalOf(name, "/", folder / "password"), "");
  EXPECT_EQ(refusalOf(name), denied + "NO)");
  EXPECT_EQ(refusalOf(name + "&defaults-group=other", folder / ""), denied + "YES)");
  EXPECT_EQ(refusalOf("mysql://a%20b<:wrong-secret|>" + place, "/", folder / "password"), denied + "YES)");
  EXPECT_EQ(refusalOf(name, "/", folder / "empty"),
            "the file that TARN_DB_PASSWORD_FILE names cannot be read, or is empty");
}

TEST(DatabaseUrl, EncryptsOrRefusesWithACertificateOfTheAuthority)
{
  const TempDir folder; // which the server, a user of its own, is to read
  const std::string makeKeys =
      "cd " + folder / "" +
      " && chmod 755 . && for name in server stranger; do openssl req -x509 -newkey ec -pkeyopt "
      "ec_paramgen_curve:P-256 -nodes -days 2 -subj /CN=localhost -out $name.pem -keyout $name.key || exit; done "
      "2>/dev/null && chmod 644 *.key";
  ASSERT_EQ(std::system(makeKeys.c_str()), 0);
  MariaDbServer encrypting("--ssl-cert=" + folder / "server.pem" + " --ssl-key=" + folder / "server.key");
  const std::string name = encrypting.createDatabase(), trusting = "&ssl-ca=" + folder / "server.pem";
  {
    const ScopedEnvironment url("TARN_DB_URL", name + trusting);
    EXPECT_NE(select(*DBConnectorSql::open(Missing::refuse), "SHOW STATUS LIKE 'Ssl_cipher'"), Lines{"Ssl_cipher,"});
  }
  const std::string start = "cannot connect: TLS/SSL error: ";
  EXPECT_EQ(refusalOf(name + "&ssl-ca=" + folder / "stranger.pem"), start + "self-signed certificate");
  EXPECT_EQ(refusalOf(MariaDbServer::shared().createDatabase() + trusting),
            start + "SSL is required, but the server does not support it");
}

TEST(DefaultDatabase, IsMadeByManyAtOnceAndLetsOneInAtATime)
{
  const TempDir folder;
  const Environment environment{{{"TARN_DB_URL", std::nullopt},
                                 {"XDG_STATE_HOME", "relative"}, // not used
                                 {"HOME", folder.path()},
                                 {"OBJECTTBL", "a b"}}};
  const auto count = []
  {
    const auto db = DBConnectorSql::open(Missing::refuse);
    for (int round = 0; round < 20; ++round)
    {
      IMSemaphoreGlobal semaphore("OBJCACHE_1", db.get());
      lock(semaphore, 30000);
      int counted = 0;
      (void)db->meta().getStudyObjectCount("1", counted);
      ArchiveAdmin(*db).putStudy("1", counted + 1, false);
    }
    return 0;
  };
  EXPECT_EQ(succeeding(32, count), 32);
  const auto db = DBConnectorSql::open(Missing::refuse);
  EXPECT_EQ(select(*db, "SELECT OBJECTCOUNT FROM studies"), Lines{"640"});
  EXPECT_EQ(namesIn(folder / ".local/state/annomend"),
            (Lines{"archive.db", "archive.db-lock", "archive.db-shm", "archive.db-wal"}));
}

TEST(DefaultDatabase, IsInMemoryWhereItCannotBe)
{
  const Environment environment{{{"TARN_DB_URL", std::nullopt}, {"XDG_STATE_HOME", "relative"}, {"HOME", "relative"}}};
  const auto db = DBConnector::createConnector(), next = DBConnector::createConnector();
  db->objCache().setObjCacheStatus("1", kObjCacheValid);
  EXPECT_FALSE(next->objCache().isObjCacheValid("1")) << "one database for both";
  IMSemaphoreGlobal first("x", db.get()), second("x", next.get());
  lock(first, 0);
  lock(second, 0);
  EXPECT_FALSE(fs::exists("relative"));
}

} // namespace
} // namespace tarn::db
