#include "ArchiveAdmin.h"
#include "DBConnectorSql.h"
#include "DBException.h"
#include "DeviceAccessor.h"
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
#include <future>
#include <regex>
#include <sstream>

namespace tarn::db
{
namespace
{

namespace fs = std::filesystem;
using namespace std::string_literals;
using imutils::IMSemaphoreGlobal;
using imutils::IMTimeoutException;

using Lines = std::vector<std::string>;
using Row = std::vector<std::optional<std::string>>;
constexpr std::nullopt_t kNull = std::nullopt;

/// Binds the way the import of a meta file does: text, with a length and a null indicator beside it.
void insert(DBConnectorSql& db, const std::string& columns, const std::vector<Row>& rows)
{
  const auto width = rows.front().size();
  std::string sql = "INSERT INTO " + db.tables().name(kObjectTable) + "(" + columns + ") VALUES ";
  for (std::size_t i = 0; i < rows.size() * width; ++i)
    sql += i % width > 0 ? ",?" : i > 0 ? "),(?" : "(?";
  SqlText statement(db, sql + ") ON DUPLICATE KEY UPDATE FNAME=FNAME", static_cast<int>(rows.size() * width), 0);
  const auto bindings = statement.query.mkBindings();
  std::vector<unsigned long> lengths(rows.size() * width);
  const bool yes = true;
  const bool no = false;
  for (std::size_t i = 0; i < lengths.size(); ++i)
  {
    const auto& value = rows[i / width][i % width];
    lengths[i] = value ? value->size() : 0;
    bindings->bindParam(static_cast<int>(i), MYSQL_TYPE_STRING, value ? value->data() : nullptr, lengths[i],
                        &lengths[i], value ? &no : &yes);
  }
  statement.executeUpdate(statement.query, *bindings, true);
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
  const Lines names{"", "A", "a", "a\0b"s, "a ", "aB", "b", "\x80", "\xC3\xA1", "\xE9 Latin-1", "\xFF\xFE"};
  std::vector<Row> rows;
  for (const std::string& name : names)
    rows.push_back({"1.2", name, "class " + name, name, "512", "256", "3"});
  insert(*db, "STUDYUID,FNAME,SOPCLASSUID,SOPINSTUID,IMGCOLUMNS,IMGROWS,IMGFRAMES", rows);
  for (const std::string& name : names)
  {
    ObjectRecord record;
    ASSERT_TRUE(db->objects().findObject("1.2", name, record)) << name;
    EXPECT_EQ((Lines{record.sopClassUid, record.sopInstanceUid}), (Lines{"class " + name, name}));
    EXPECT_EQ((std::vector{record.columns, record.rows, record.frames}), (std::vector{512, 256, 3}));
  }
  insert(*db, "STUDYUID,FNAME,SOPCLASSUID,IMGCOLUMNS", {{"9", "CT.1", kNull, kNull}});
  ObjectRecord record{"a", "b", "c", 1, 2, 3};
  EXPECT_FALSE(db->objects().findObject("9 ", "CT.1", record));
  EXPECT_EQ(record.sopClassUid + record.sopInstanceUid + record.seriesInstanceUid, "abc");
  ASSERT_TRUE(db->objects().findObject("9", "CT.1", record));
  EXPECT_EQ(record.sopClassUid + record.sopInstanceUid + record.seriesInstanceUid, "");
  EXPECT_EQ((std::vector{record.columns, record.rows, record.frames}), (std::vector{0, 0, 0}));
  std::list<std::string> files;
  db->objCache().listObjCacheFiles("1.2", files);
  EXPECT_EQ(Lines(files.begin(), files.end()), names);
}

TEST_P(Database, RefusesWhatTheOtherRefuses)
{
  const struct
  {
    const char *odd, *columns;
    Row values;
  } cases[] = {
      {"study of 65 bytes", "STUDYUID,FNAME", {std::string(65, '1'), "f"}},
      {"name of 255 bytes and a blank", "STUDYUID,FNAME", {"1", std::string(255, 'f') + " "}},
      {"name of 128 characters in 256 bytes", "STUDYUID,FNAME", {"1", std::string(255, '\xC3') + "\xA1"}},
      {"a key column twice", "STUDYUID,FNAME,SOPCLASSUID,STUDYUID", {"1", "f", "1", "2"}},
      {"a column twice in other letters", "STUDYUID,FNAME,fname", {"1", "f", "g"}},
  };
  for (const auto& row : cases)
    EXPECT_THROW(insert(*db, row.columns, {row.values}), DBException) << row.odd;
  for (const std::string column : {"IMGCOLUMNS", "IMGROWS", "IMGFRAMES"})
    for (const std::string& value : {"12a"s, ""s, "12.5"s, "2147483648"s, "-2147483649"s, "12\0"s})
      EXPECT_THROW(insert(*db, "STUDYUID,FNAME," + column, {{"1", "f", value}}), DBException) << column << value;
  EXPECT_THROW(insert(*db, "STUDYUID,FNAME,IMGROWS", {{"1", "f", "1"}, {"1", "g", "x"}}), DBException);
  EXPECT_EQ(text("SELECT COUNT(*) FROM objects"), "0") << "a part of a statement stands";

  const std::string longest(255, 'f');
  insert(*db, "STUDYUID,FNAME", {{std::string(64, '1'), longest}});
  EXPECT_EQ(text("SELECT FNAME FROM objects"), longest);
}

TEST_P(Database, BindsEveryType)
{
  constexpr auto kSigned = SignedFlag::Signed, kUnsigned = SignedFlag::Unsigned;
  const std::uint64_t bits = 0x8000000080008080; // negative as a number of each width
  const unsigned long three = 3;
  const bool yes = true;
  const struct
  {
    enum_field_types type;
    SignedFlag sign;
    const void* buffer;
    const char* result;
    const unsigned long* length = nullptr;
    const bool* isNull = nullptr;
  } cases[] = {
      {MYSQL_TYPE_TINY, kSigned, &bits, "-128"},
      {MYSQL_TYPE_LONG, kSigned, &bits, "-2147450752"},
      {MYSQL_TYPE_LONG, kUnsigned, &bits, "2147516544"},
      {MYSQL_TYPE_LONGLONG, kSigned, &bits, "-9223372034707259264"},
      {MYSQL_TYPE_LONGLONG, kUnsigned, &bits, "the number 9223372039002292352 is too large to be bound"},
      {MYSQL_TYPE_VAR_STRING, kSigned, "abcdef", "abcdef"},
      {MYSQL_TYPE_BLOB, kUnsigned, "abcdef", "abc", &three},
      {MYSQL_TYPE_STRING, kUnsigned, "abcdef", "NULL", nullptr, &yes},
      {MYSQL_TYPE_NULL, kSigned, nullptr, "NULL"},
      {MYSQL_TYPE_DATETIME, kSigned, "x", "values of the type code 12 cannot be bound"},
  };
  for (const auto& row : cases)
  {
    SqlText statement(*db, "SELECT ?", 1, 1);
    const auto bindings = statement.query.mkBindings();
    std::string result;
    const std::string refused = refusal(
        [&]
        {
          bindings->bindParam(0, row.type, row.buffer, 6, row.length, row.isNull, row.sign);
          ASSERT_TRUE(statement.fetchRow(statement.query, *bindings));
          result = bindings->isNull(0) ? "NULL" : bindings->text(0);
        });
    EXPECT_EQ(result.empty() ? refused : result, row.result);
  }
}

TEST_P(Database, RefusesMisuseOfStatements)
{
  SqlText two(*db, "SELECT ?,?", 2, 2);
  SqlText wrongParams(*db, "SELECT ?", 2, 1);
  SqlText wrongResults(*db, "SELECT 1", 0, 2);
  SqlText many(*db, "SELECT 1", 65536, 1);
  QueryBindings one(1, 2);
  const std::string value = "x";
  one.bindText(0, value);
  const auto run = [](SqlText& cache, const PsQuery& query, QueryBindings& bindings, bool commit = true)
  { return refusal([&] { cache.executeUpdate(query, bindings, commit); }); };
  EXPECT_EQ(run(two, two.query, *two.query.mkBindings()), "parameter 0 is not bound");
  EXPECT_EQ(run(two, two.query, one), "a statement has 2 parameters, not 1");
  EXPECT_EQ(run(wrongParams, wrongParams.query, one), "no refusal");
  EXPECT_EQ(run(wrongResults, wrongResults.query, *wrongResults.query.mkBindings()),
            "a statement has 1 result columns, not 2");
  EXPECT_EQ(run(many, many.query, one), "a statement has more than 65535 parameters");
  EXPECT_EQ(run(two, wrongResults.query, one), "a statement was run that is not registered");
  EXPECT_EQ(run(two, two.query, one, false), "a change that is part of a transaction was made outside of one");
  EXPECT_EQ(refusal([&] { one.bindText(1, value); }), "there is no parameter 1");
  EXPECT_EQ(refusal([&] { one.text(-1); }), "there is no result column -1");
}

TEST_P(Database, FetchesLongReferencesBetweenShortOnes)
{
  const Lines keys{"a", std::string(320, 'b'), "c", std::string(300, 'd')};
  for (const std::string& key : keys)
    db->references().addReference(key, "STUDYDIR", "x");
  EXPECT_EQ(select(*db, "SELECT REFKEY FROM object_references ORDER BY REFKEY"), keys);
  EXPECT_THROW(db->references().addReference(std::string(321, 'x'), "STUDYDIR", "x"), DBException);
  db->references().addReference("a", "STUDYDIR", "x");
  EXPECT_EQ(text("SELECT COUNT(*) FROM object_references"), "4") << "a reference is there once";
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
    insert(*db, "STUDYUID,FNAME", {{study, "CT.1"}, {study, "CT.2"}});
    db->objCache().setObjCacheStatus(study, kObjCacheError);
    db->references().addReference(study, "STUDYDIR", "ocerror");
    db->references().addReference(study, "STUDYDIR", "keep");
    db->references().addReference(study + "/CT.1", "OBJECTFILE", "ocerror");
  }
  const auto shown = [&](const std::string& study)
  {
    const StudyState state = admin.studyState(study);
    std::ostringstream text;
    if (state.row)
      text << state.row->objectCount << (state.row->metaRequired ? " required, " : ", ");
    if (state.entry)
      text << "entry " << state.entry->status << ", ";
    text << state.objectRows << " rows, " << state.references << " references";
    return text.str();
  };
  const std::string whole = "5 required, entry 2, 2 rows, 3 references";
  EXPECT_EQ(shown("1.2"), whole);
  EXPECT_EQ(admin.studyState("1.2").entryUpdated.size(), "2024-01-31 23:59:59"s.size());
  admin.clearError("1.2");
  EXPECT_EQ(shown("1.2"), "5 required, 2 rows, 1 references");
  admin.registerStudy("1.20", 7, false);
  EXPECT_EQ(shown("1.20"), "7, 0 rows, 1 references");
  admin.removeStudy("1.2");
  EXPECT_EQ(shown("1.2"), "0 rows, 0 references");
  EXPECT_THROW(admin.putStudy("1.1", -1, true), DBException);
  admin.createSchema();
  for (const char* neighbour : {"1.2.3", "1.1"})
    EXPECT_EQ(shown(neighbour), whole);
  db->objCache().setObjCacheStatus("0.1", 0);
  EXPECT_EQ(admin.listStudies(), (std::list<std::string>{"0.1", "1.1", "1.2.3", "1.20"}));

  int count = -1;
  EXPECT_FALSE(db->meta().getStudyObjectCount("1.2", count));
  EXPECT_EQ(count, -1);
  EXPECT_TRUE(db->meta().getStudyObjectCount("1.1", count));
  EXPECT_EQ(count, 5);
  EXPECT_TRUE(db->meta().isMetaRequired("1.1"));
  EXPECT_FALSE(db->meta().isMetaRequired("1.2") || db->meta().isMetaRequired("1.20"));
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

  Transaction transaction(*db);
  db->references().addReference("1", "STUDYDIR", "first");
  auto other = std::async(std::launch::async, [] { open()->references().addReference("1", "STUDYDIR", "first"); });
  EXPECT_EQ(other.wait_for(std::chrono::milliseconds(300)), std::future_status::timeout) << "another writer waits";
  transaction.commit();
  EXPECT_NO_THROW(other.get());
}

TEST_P(Database, ListsTheDevicesMarkedForForwarding)
{
  db->session().execute("INSERT INTO forward_targets VALUES ('b','P'),('a','C'),('B','X'),('c','P')");
  db->session().execute("INSERT INTO forward_services VALUES ('b','store',1),('b','query',1),('a','store',1),"
                        "('B','store',1),('c','store',0)");
  std::list<DeviceRecord> devices;
  db->devices().listAutoForwardDevices("forward_targets", "forward_services", devices);
  std::string shown;
  for (const DeviceRecord& device : devices)
    shown += device.name + device.type + ' ';
  EXPECT_EQ(shown, "BX aC bP ");
  EXPECT_EQ(refusal([&] { db->devices().listAutoForwardDevices("a b", "forward_services", devices); }),
            "the name 'a b' is no identifier");
}

TEST_P(Database, RefusesHostileTableNames)
{
  for (const std::string& name : {"x; DROP TABLE studies"s, "9a"s, "\xC3\xA4"s, "a\nb"s, std::string(65, 'a')})
  {
    const ScopedEnvironment objects("OBJECTTBL", name);
    const auto other = open();
    const std::string expected = "the name '" + (name == "a\nb" ? "a\\x0Ab" : name) + "' is no identifier";
    ObjectRecord record;
    std::list<std::string> files;
    EXPECT_EQ(refusal([&] { (void)other->objects().findObject("1", "f", record); }), expected);
    EXPECT_EQ(refusal([&] { other->objCache().listObjCacheFiles("1", files); }), expected);
    EXPECT_EQ(refusal([&] { ArchiveAdmin(*other).createSchema(); }), expected);
    EXPECT_FALSE(other->objCache().isObjCacheValid("1") || other->meta().isMetaRequired("1"));
  }
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

  const auto next = open();
  Transaction transaction(*next);
  own.kill();
  EXPECT_THROW(next->references().addReference("1", "STUDYDIR", "x"), DBException);
  EXPECT_THROW(transaction.commit(), DBException);
  EXPECT_EQ(refusal(open).rfind("cannot open database mysql://root@", 0), 0U);
}

std::string opened(const Environment::Variables& variables)
{
  const Environment environment(variables);
  return refusal([] { DBConnector::createConnector(); });
}

std::string cannotOpen(const std::string& url, const std::string& reason)
{
  return std::string("cannot open database ").append(url).append(": ").append(reason);
}

TEST(DatabaseUrl, RefusalsNameTheUrlWithoutItsPassword)
{
  const TempDir folder;
  std::ofstream(folder / "text") << "this is no database, whatever its length may be, and has no header of one";
  // <given|shown>
  const std::pair<const char*, Lines> cases[] = {
      {"it starts with neither mysql:// nor sqlite:",
       {"oracle://u<:secret|>@h/d", "mysql<:u:secret|>@h/d", "u<:secret|>@h/d"}},
      {"it names no user", {"mysql://h/d", "mysql://<:secret|>@h/d", "mysql://u<:sec/ret|>@h/d"}},
      {"it names no host", {"mysql://u@x<:secret|>@/d", "mysql://u<:secret|>@/d"}},
      {"it names no database", {"mysql://u<:secret|>@h", "mysql://u<:secret|>@h/"}},
      {"a '/' or '@' within a name is written %2F or %40", {"mysql://u<:secret|>@h/d/e"}},
      {"the port is no number from 1 to 65535",
       {"mysql://u@h:65536/d", "mysql://u@h:0/d", "mysql://u@h:/d", "mysql://u@[::1]x/d"}},
      {"a '%' is not followed by two hexadecimal digits", {"mysql://u<:se%zzcret|>@h/d", "mysql://u@h/d%4"}},
      {"it holds a NUL", {"mysql://u%00@h/d"}},
      {"a parameter is none of socket, ssl-ca and defaults-group",
       {"mysql://u@h/d?<password=secret|...>", "mysql://u@h/d?socket=/s&<pw=secret|...>"}},
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
  EXPECT_EQ(refusal([] { DBConnector::createConnector(1); }), "there is no connection 1");
  EXPECT_FALSE(fs::exists(folder / "missing"));
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
  const std::string start = "cannot open database ";
  const std::string denied = ": cannot connect: Access denied for user 'a b'@'localhost' (using password: ";
  const struct
  {
    std::string url, home, file, outcome;
  } cases[] = {
      {"mysql://a%20b:s%2Fe%3Ac%40r%25t" + place, "/", "", "no refusal"},
      {name, folder / "", "", "no refusal"},
      {name, "/", folder / "password", "no refusal"},
      {name, "/", "", start + name + denied + "NO)"},
      {other, folder / "", "", start + other + denied + "YES)"},
      {name, "/", folder / "empty",
       start + name + ": the file that TARN_DB_PASSWORD_FILE names cannot be read, or is empty"},
      {"mysql://a%20b:wrong-secret" + place, folder / "", folder / "password", start + name + denied + "YES)"},
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
  MariaDbServer encrypting({"--ssl-cert=" + folder / "server.pem", "--ssl-key=" + folder / "server.key"});
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
  const Environment environment{{{"TARN_DB_URL", kNull}, {"XDG_STATE_HOME", folder / "state"}, {"OBJECTTBL", "a b"}}};
  const auto makeEntry = []
  {
    const auto db = DBConnector::createConnector();
    db->objCache().setObjCacheStatus("1", 0);
    return db->objCache().isObjCacheValid("1") ? 0 : 1;
  };
  EXPECT_EQ(succeeding(32, makeEntry), 32);
  EXPECT_TRUE(DBConnector::createConnector()->objCache().isObjCacheValid("1"));
  EXPECT_TRUE(fs::exists(folder / "state/annomend/archive.db"));
}

TEST(DefaultDatabase, IsFoundBelowHomeOrKeptInMemory)
{
  const TempDir folder;
  std::ofstream(folder / "file") << "x";
  const Environment environment{{{"TARN_DB_URL", kNull}, {"HOME", folder.path()}}};
  for (const std::string& place : {folder / "file", "/proc/none"s})
  {
    const ScopedEnvironment state("XDG_STATE_HOME", place);
    const auto db = DBConnector::createConnector(), next = DBConnector::createConnector();
    ObjectRecord record;
    EXPECT_FALSE(db->objects().findObject("1", "f", record));
    IMSemaphoreGlobal first("x", db.get()), second("x", next.get());
    lock(first, 0);
    EXPECT_THROW(lock(second, 0), IMTimeoutException);
  }
  const ScopedEnvironment relative("XDG_STATE_HOME", "relative");
  DBConnector::createConnector()->objCache().setObjCacheStatus("1", 0);
  EXPECT_TRUE(fs::exists(folder / ".local/state/annomend/archive.db"));
  EXPECT_FALSE(fs::exists("relative"));
}

} // namespace
} // namespace tarn::db
