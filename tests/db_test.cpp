#include "ArchiveAdmin.h"
#include "DBConnectorSql.h"
#include "DBException.h"
#include "Environment.h"
#include "IMException.h"
#include "IMSemaphoreGlobal.h"
#include "MariaDbServer.h"
#include "MetaAccessor.h"
#include "ObjCacheAccessor.h"
#include "ObjectAccessor.h"
#include "Processes.h"
#include "ReferenceAccessor.h"
#include "SqlSession.h"
#include "SqlText.h"
#include "TempDir.h"
#include "Transaction.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>
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

/// Runs `INSERT INTO objects(columns) VALUES values` as a prepared statement.
void insert(DBConnectorSql& db, const std::string& columns, const std::string& values)
{
  SqlText statement(db, "INSERT INTO " + db.tables().name(kObjectTable) + "(" + columns + ") VALUES " + values, 0, 0);
  statement.executeUpdate(statement.query, *statement.query.mkBindings(), true);
}

/// The text of the DBException that `action` throws.
template <class Action>
std::string refusal(Action action)
{
  try
  {
    action();
  }
  catch (const DBException& failure)
  {
    return failure.what();
  }
  return "no refusal";
}

void lock(IMSemaphoreGlobal& semaphore, int timeout)
{
  semaphore.lock_ms(timeout, 1, 1.5, 20, 0.4F);
}

class Database : public testing::TestWithParam<const char*>
{
protected:
  Database() { ArchiveAdmin(*db).createSchema(); }
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
  const std::pair<std::string, std::string> rows[] = {
      {"STUDYUID,FNAME", "('" + std::string(65, '1') + "','f')"},
      {"STUDYUID,FNAME", "('1','" + std::string(255, 'f') + " ')"},
      {"STUDYUID,FNAME", "('1','" + std::string(255, '\xC3') + "\xA1')"}, // 128 characters in 256 bytes
      {"STUDYUID,FNAME", "('1',NULL)"},
      {"STUDYUID,FNAME,SOPCLASSUID,STUDYUID", "('1','f','1','2')"},
      {"STUDYUID,FNAME,fname", "('1','f','g')"},
      {"STUDYUID,FNAME,rowid", "('1','f','1')"},
      {"STUDYUID,FNAME,IMGROWS", "('1','f','1'),('1','g','x')"},
  };
  for (const auto& [columns, values] : rows)
    EXPECT_THROW(insert(*db, columns, values), DBException) << columns << values;
  for (const char* value : {"'12a'", "''", "'12.5'", "'2147483648'", "'-2147483649'"})
    EXPECT_THROW(insert(*db, "STUDYUID,FNAME,IMGROWS", "('1','f',"s + value + ")"), DBException) << value;
  EXPECT_EQ(text("SELECT COUNT(*) FROM objects"), "0") << "a part of a statement stands";
  insert(*db, "STUDYUID,FNAME", "('" + std::string(64, '1') + "','" + std::string(255, 'f') + "')");
}

TEST_P(Database, BindsEveryType)
{
  const std::uint64_t bits = 0x8000000080008080; // negative as a number of each width
  const unsigned long three = 3;
  const std::tuple<enum_field_types, SignedFlag, const void*, std::string, const unsigned long*> rows[] = {
      {MYSQL_TYPE_TINY, SignedFlag::Signed, &bits, "-128", nullptr},
      {MYSQL_TYPE_LONG, SignedFlag::Signed, &bits, "-2147450752", nullptr},
      {MYSQL_TYPE_LONG, SignedFlag::Unsigned, &bits, "2147516544", nullptr},
      {MYSQL_TYPE_LONGLONG, SignedFlag::Unsigned, &bits, "the number 9223372039002292352 is too large to be bound",
       nullptr},
      {MYSQL_TYPE_BLOB, SignedFlag::Unsigned, "abcdef", "abc", &three},
      {MYSQL_TYPE_NULL, SignedFlag::Signed, nullptr, "NULL", nullptr},
      {MYSQL_TYPE_DATETIME, SignedFlag::Signed, "x", "values of the type code 12 cannot be bound", nullptr},
  };
  SqlText statement(*db, "SELECT ?", 1, 1);
  const auto run = [&] { statement.executeUpdate(statement.query, *statement.query.mkBindings(), true); };
  EXPECT_EQ(refusal(run), "parameter 0 is not bound");
  for (const auto& [type, sign, buffer, expected, length] : rows)
  {
    const auto bindings = statement.query.mkBindings();
    std::string result;
    const auto bind = [&, type = type, sign = sign, buffer = buffer, length = length]
    {
      bindings->bindParam(0, type, buffer, 6, length, nullptr, sign);
      ASSERT_TRUE(statement.fetchRow(statement.query, *bindings));
      result = bindings->isNull(0) ? "NULL" : bindings->text(0);
    };
    const std::string refused = refusal(bind);
    EXPECT_EQ(result.empty() ? refused : result, expected);
  }
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
  for (const std::string study : {"1.2", "1.20", "1.2.3", "1.1"})
  {
    admin.putStudy(study, 5, true);
    insert(*db, "STUDYUID,FNAME", "('" + study + "','CT.1'),('" + study + "','CT.2')");
    db->objCache().setObjCacheStatus(study, kObjCacheError);
    for (const char* name : {"ocerror", "keep"})
      db->references().addReference(study, "STUDYDIR", name);
    db->references().addReference(study + "/CT.1", "OBJECTFILE", "ocerror");
  }
  // Objects of the row, rows, references.
  const auto shown = [&](const char* study)
  {
    const StudyState state = admin.studyState(study);
    return std::vector{state.row ? state.row->objectCount : -1, state.objectRows, state.references};
  };
  admin.clearError("1.2");
  EXPECT_EQ(shown("1.2"), (std::vector{5, 2, 1}));
  admin.registerStudy("1.20", 7, false);
  EXPECT_EQ(shown("1.20"), (std::vector{7, 0, 1}));
  admin.removeStudy("1.2");
  EXPECT_EQ(shown("1.2"), (std::vector{-1, 0, 0}));
  for (const char* neighbour : {"1.2.3", "1.1"})
    EXPECT_EQ(shown(neighbour), (std::vector{5, 2, 3}));
  EXPECT_THROW(admin.putStudy("1.1", -1, true), DBException);
  EXPECT_EQ(admin.listStudies(), (std::list<std::string>{"1.1", "1.2.3", "1.20"}));

  int count = -1;
  EXPECT_FALSE(db->meta().getStudyObjectCount("1.2", count));
  EXPECT_TRUE(db->meta().getStudyObjectCount("1.1", count) && count == 5 && db->meta().isMetaRequired("1.1"));
  EXPECT_FALSE(db->meta().isMetaRequired("1.2") || db->meta().isMetaRequired("1.20"));
}

TEST_P(Database, UsesTheTablesThatTheEnvironmentNames)
{
  for (const std::string name : {"x; DROP TABLE studies", "9a"})
  {
    const ScopedEnvironment objects("OBJECTTBL", name);
    EXPECT_EQ(refusal([] { ArchiveAdmin(*open()).createSchema(); }), "the name '" + name + "' is no identifier");
  }
  const ScopedEnvironment objects("OBJECTTBL", "my_objects9"), entries("QXOBJCACHETBL", "_cache");
  const auto other = open();
  ArchiveAdmin(*other).createSchema();
  other->objCache().setObjCacheStatus("1", 0);
  EXPECT_FALSE(db->objCache().isObjCacheValid("1"));
  EXPECT_EQ(text("SELECT COUNT(*) FROM _cache") + text("SELECT COUNT(*) FROM my_objects9"), "10");
}

TEST_P(Database, RollsBackWhatIsNotCommitted)
{
  for (const bool commit : {false, true})
  {
    Transaction transaction(*db);
    db->references().addReference("1", "STUDYDIR", commit ? "kept" : "dropped");
    EXPECT_EQ(refusal([&] { Transaction nested(*db); }), "a transaction is open already");
    if (commit)
      transaction.commit();
  }
  EXPECT_EQ(select(*open(), "SELECT NAME FROM object_references"), Lines{"kept"});
}

TEST_P(Database, LocksBetweenConnections)
{
  const auto other = open();
  const std::string name = "OBJCACHE_" + std::string(63, '1'); // hashed where 64 is the limit
  constexpr auto kShared = fs::perms{0660};
  if (!isServer())
    fs::permissions(folder / "archive.db", kShared);
  {
    IMSemaphoreGlobal first(name + "2", db.get()), again(name + "2", db.get()), blocked(name + "2", other.get());
    lock(first, 0);
    lock(first, 0);
    lock(again, 0);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_THROW(lock(blocked, 150), IMTimeoutException);
    EXPECT_TRUE(isServer() || fs::status(folder / "archive.db-" + name + "2.lock").permissions() == kShared);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(150));
    IMSemaphoreGlobal otherName(name + "3", other.get()), oddName("../a b/%", other.get());
    EXPECT_NO_THROW(lock(otherName, 0));
    EXPECT_NO_THROW(lock(oddName, 0));
  }
  IMSemaphoreGlobal second(name + "2", other.get()), late(name + "2", db.get());
  EXPECT_NO_THROW(lock(second, 0));
  EXPECT_THROW(lock(late, 0), IMTimeoutException);
}

TEST_P(Database, LetsOneOfManyProcessesInAtATime)
{
  ArchiveAdmin(*db).putStudy("1", 0, false);
  db.reset();
  const auto count = []
  {
    const auto own = open();
    for (int round = 0; round < 5; ++round)
    {
      IMSemaphoreGlobal semaphore("OBJCACHE_1", own.get());
      lock(semaphore, 30000);
      int counted = -2;
      (void)own->meta().getStudyObjectCount("1", counted);
      ArchiveAdmin(*own).putStudy("1", counted + 1, false);
    }
    return 0;
  };
  EXPECT_EQ(succeeding(16, count), 16);
  db = open();
  EXPECT_EQ(text("SELECT OBJECTCOUNT FROM studies"), "80");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), isServer() ? 0 : 3) << "a lock has left its file";
}

TEST(LostServer, IsAnExceptionAndNeverRenewed)
{
  MariaDbServer own;
  const TempDir folder;
  std::ofstream(folder / ".my.cnf") << "[annomend]\nreconnect=1\n";
  const Environment environment{{{"HOME", folder.path()}, {"TARN_DB_URL", own.createDatabase()}}};
  const auto open = [] { return DBConnectorSql::open(Missing::refuse); };
  const auto db = open();
  ArchiveAdmin(*db).createSchema();
  IMSemaphoreGlobal held("OBJCACHE_1", db.get());
  lock(held, 0);
  ObjectRecord record;
  EXPECT_FALSE(db->objects().findObject("1", "f", record));

  own.run("KILL " + select(*db, "SELECT CONNECTION_ID()").at(0));
  EXPECT_THROW((void)db->objects().findObject("1", "f", record), DBException) << "the lock was lost unnoticed";
  EXPECT_THROW(db->references().addReference("1", "STUDYDIR", "x"), DBException);

  own.kill();
  EXPECT_EQ(refusal(open).rfind("cannot open database mysql://root@", 0), 0U);
}

std::string opened(const Environment::Variables& variables)
{
  const Environment environment(variables);
  return refusal([] { DBConnector::createConnector(); });
}

std::string cannotOpen(const std::string& url, const std::string& reason)
{
  return "cannot open database " + url + ": " + reason;
}

TEST(DatabaseUrl, RefusalsNameTheUrlWithoutItsPassword)
{
  const TempDir folder;
  std::ofstream(folder / "text") << "this is no database, whatever its length may be, and has no header of one";
  // <given|shown>
  const std::pair<const char*, Lines> cases[] = {
      {"it starts with neither mysql:// nor sqlite:", {"oracle://u<:secret|>@h/d", "mysql<:u:secret|>@h/d"}},
      {"it names no user", {"mysql://<:secret|>@h/d", "mysql://u<:sec/ret|>@h/d"}},
      {"it names no host", {"mysql://u@x<:secret|>@/d"}},
      {"it names no database", {"mysql://u<:secret|>@h", "mysql://u@h/"}},
      {"a '/' or '@' within a name is written %2F or %40", {"mysql://u<:secret|>@h/d/e"}},
      {"the port is no number from 1 to 65535", {"mysql://u@h:65536/d", "mysql://u@h:/d", "mysql://u@[::1]x/d"}},
      {"a '%' is not followed by two hexadecimal digits", {"mysql://u<:se%zzcret|>@h/d", "mysql://u@h/d%4"}},
      {"it holds a NUL", {"mysql://u%00@h/d"}},
      {"a parameter is none of socket, ssl-ca and defaults-group", {"mysql://u@h/d?socket=/s&<pw=secret|...>"}},
      {"a parameter has no value", {"mysql://u@h/d?socket="}},
      {"cannot connect: Unknown server host 'h' (-2)", {"mysql://u@h/d<\n|\\x0A>"}},
      {"cannot connect: Can't connect to local server through socket '/nowhere/s' (2)",
       {"mysql://u<:secret|>@localhost/d?socket=/nowhere/s"}},
      {"it names no file", {"sqlite:"}},
      {"cannot open the file: No such file or directory", {"sqlite:" + folder / "missing"}},
      {"cannot open the file: Is a directory", {"sqlite:/"}},
      {"cannot enter WAL mode: file is not a database", {"sqlite:" + folder / "text"}},
  };
  const std::regex mark("<([^|]*)[|](.*)>");
  for (const auto& [reason, urls] : cases)
    for (const std::string& url : urls)
      EXPECT_EQ(opened({{"TARN_DB_URL", std::regex_replace(url, mark, "$1")}}),
                cannotOpen(std::regex_replace(url, mark, "$2"), reason));
}

TEST(DatabaseUrl, TakesThePasswordFromWhereItIsKept)
{
  const TempDir folder;
  std::ofstream(folder / ".my.cnf") << "[annomend]\npassword=s/e:c@r%t\n[other]\npassword=wrong-secret\n";
  std::ofstream(folder / "password") << "s/e:c@r%t\n";
  std::ofstream(folder / "empty") << "";
  MariaDbServer::shared().run("CREATE USER 'a b'@localhost IDENTIFIED BY 's/e:c@r%t'");
  const std::string place = "@localhost/information_schema?socket=" + MariaDbServer::shared().socket();
  const std::string name = "mysql://a%20b" + place, other = name + "&defaults-group=other";
  const std::string denied = "cannot connect: Access denied for user 'a b'@'localhost' (using password: ";
  const std::string unreadable = "the file that TARN_DB_PASSWORD_FILE names cannot be read, or is empty";
  const struct
  {
    std::string url, home, file, outcome;
  } cases[] = {
      {"mysql://a%20b:s%2Fe%3Ac%40r%25t" + place, "/", "", "no refusal"},
      {name, folder / "", "", "no refusal"},
      {name, "/", folder / "password", "no refusal"},
      {name, "/", "", cannotOpen(name, denied + "NO)")},
      {other, folder / "", "", cannotOpen(other, denied + "YES)")},
      {name, "/", folder / "empty", cannotOpen(name, unreadable)},
      {"mysql://a%20b:wrong-secret" + place, folder / "", folder / "password", cannotOpen(name, denied + "YES)")},
  };
  for (const auto& row : cases)
    EXPECT_EQ(opened({{"TARN_DB_URL", row.url}, {"HOME", row.home}, {"TARN_DB_PASSWORD_FILE", row.file}}), row.outcome);
}

TEST(DatabaseUrl, EncryptsOrRefusesWithACertificateOfTheAuthority)
{
  const TempDir folder;
  fs::permissions(folder.path(), fs::perms(0755)); // the server has a user of its own
  for (const std::string name : {"server", "stranger"})
  {
    const std::string key = folder / name + ".key";
    std::ostringstream command;
    command << "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 -subj /CN=localhost -out "
            << folder / name << ".pem -keyout " << key << " 2>/dev/null && chmod 644 " << key;
    ASSERT_EQ(std::system(command.str().c_str()), 0);
  }
  MariaDbServer encrypting("--ssl-cert=" + folder / "server.pem" + " --ssl-key=" + folder / "server.key");
  const std::string name = encrypting.createDatabase();
  {
    const ScopedEnvironment url("TARN_DB_URL", name + "&ssl-ca=" + folder / "server.pem");
    EXPECT_NE(select(*DBConnectorSql::open(Missing::refuse), "SHOW STATUS LIKE 'Ssl_cipher'", 2), Lines{"Ssl_cipher,"});
  }
  const std::pair<std::string, std::string> unsafe[] = {
      {name + "&ssl-ca=" + folder / "stranger.pem", "self-signed certificate"},
      {MariaDbServer::shared().createDatabase() + "&ssl-ca=" + folder / "server.pem",
       "SSL is required, but the server does not support it"}};
  for (const auto& [url, reason] : unsafe)
    EXPECT_EQ(opened({{"TARN_DB_URL", url}}), cannotOpen(url, "cannot connect: TLS/SSL error: " + reason));
}

TEST(DefaultDatabase, IsMadeOnFirstUseByManyAtOnce)
{
  const TempDir folder;
  const Environment environment{{{"TARN_DB_URL", std::nullopt},
                                 {"XDG_STATE_HOME", "relative"}, // not used
                                 {"HOME", folder.path()},
                                 {"OBJECTTBL", "a b"}}};
  const auto makeEntry = []
  {
    const auto db = DBConnector::createConnector();
    db->objCache().setObjCacheStatus("1", 0);
    return db->objCache().isObjCacheValid("1") ? 0 : 1;
  };
  EXPECT_EQ(succeeding(32, makeEntry), 32);
  EXPECT_TRUE(DBConnector::createConnector()->objCache().isObjCacheValid("1"));
  EXPECT_TRUE(fs::exists(folder / ".local/state/annomend/archive.db"));
  EXPECT_FALSE(fs::exists("relative"));
}

TEST(DefaultDatabase, IsInMemoryWhereItCannotBe)
{
  for (const char* state : {"/proc/none", "relative"})
  {
    const Environment environment{{{"TARN_DB_URL", std::nullopt}, {"XDG_STATE_HOME", state}, {"HOME", "relative"}}};
    const auto db = DBConnector::createConnector(), next = DBConnector::createConnector();
    ObjectRecord record;
    EXPECT_FALSE(db->objects().findObject("1", "f", record));
    IMSemaphoreGlobal first("x", db.get()), second("x", next.get());
    lock(first, 0);
    EXPECT_THROW(lock(second, 0), IMTimeoutException);
  }
}

} // namespace
} // namespace tarn::db
