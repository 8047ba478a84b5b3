// Which database a URL opens, how it is entered, and what of the URL is shown.
#include "db/ArchiveAdmin.h"
#include "db/DBConnectorSql.h"
#include "db/DBException.h"
#include "db/IMSemaphoreGlobal.h"
#include "db/MetaAccessor.h"
#include "db/ObjCacheAccessor.h"
#include "db/ObjectAccessor.h"
#include "db/ReferenceAccessor.h"
#include "db/Transaction.h"
#include "tests/support/Environment.h"
#include "tests/support/Files.h"
#include "tests/support/MariaDbServer.h"
#include "tests/support/Processes.h"
#include "tests/support/SqlText.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <regex>
#include <thread>

#include <sys/stat.h>
#include <unistd.h>

namespace tarn::db
{
namespace
{

using imutils::IMSemaphoreGlobal;
using Lines = std::vector<std::string>;

TEST(LostConnection, IsAnExceptionAndNeverRenewed)
{
  const TempDir folder;
  put(folder / ".my.cnf", "[annomend]\nreconnect=1\n");
  const Environment environment{{{"HOME", folder.path()}, {"TARN_DB_URL", MariaDbServer::shared().createDatabase()}}};
  const auto db = DBConnectorSql::open(Missing::refuse);
  db->createTables();
  IMSemaphoreGlobal held("OBJCACHE_1", db.get());
  held.lock_ms(0, 1, 1, 1, 0);
  ObjectRecord record;
  EXPECT_FALSE(db->objects().findObject("1", "f", record));
  MariaDbServer::shared().run("KILL " + select(*db, "SELECT CONNECTION_ID()").at(0));
  EXPECT_THROW((void)db->objects().findObject("1", "f", record), DBException) << "the lock was lost unnoticed";
  EXPECT_THROW(db->references().addReference("1", "STUDYDIR", "x"), DBException);
}

/// Writes in a transaction and outside of one; what a session of another URL finds, or the failure.
std::string writtenAndRead(const std::string& otherUrl)
try
{
  {
    const auto db = DBConnectorSql::open(Missing::refuse);
    db->createTables();
    Transaction transaction(*db);
    db->references().addReference("1", "STUDYDIR", "a");
    transaction.commit();
    db->references().addReference("1", "STUDYDIR", "b");
  }
  DBConnectorSql::open(Missing::refuse)->references().addReference("1", "STUDYDIR", "c");
  const ScopedEnvironment other("TARN_DB_URL", otherUrl);
  std::string found;
  for (const std::string& name : select(*DBConnectorSql::open(Missing::refuse), "SELECT NAME FROM object_references"))
    found += name;
  return found;
}
catch (const DBException& failure)
{
  return failure.what();
}

TEST(Session, StandsWhateverTheServerGivesOneByDefault)
{
  MariaDbServer server("--init-connect="); // whose settings nobody else has
  server.run("CREATE USER plain@localhost; GRANT ALL ON `archive%`.* TO plain@localhost; "
             "CREATE DATABASE archive_other; CREATE TABLE archive_other.held (a INT)");
  for (const std::string setting :
       {"init_connect='START TRANSACTION'", "completion_type=1", "completion_type=2", "autocommit=0",
        "init_connect='SET SESSION TRANSACTION READ ONLY'", "sql_select_limit=1", "init_connect='USE archive_other'",
        "init_connect='LOCK TABLES archive_other.held READ'"})
  {
    const std::string url = server.createDatabase();
    const ScopedEnvironment database("TARN_DB_URL", replaced(url, "root@", "plain@"));
    server.run("SET GLOBAL " + setting);
    EXPECT_EQ(writtenAndRead(url), "abc") << setting;
    server.run("SET GLOBAL init_connect='', GLOBAL completion_type=0, GLOBAL sql_select_limit=18446744073709551615, "
               "GLOBAL autocommit=1");
  }
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

const std::pair<std::string, std::string> kRefusals[] = {
    {"mysql<:u:secret|>@h/d", "it starts with neither mysql:// nor sqlite:"},
    {"mysql://<:secret|>@h/d", "it names no user"},
    {"mysql://u<:sec/ret|>@h/d", "it names no user"},
    {"mysql://u@x<:secret|>@/d", "it names no host"},
    {"mysql://u<:secret|>@h/", "it names no database"},
    {"mysql://u<:secret|>@h/d/e", "a '/' or '@' within a name is written %2F or %40"},
    {"mysql://u@h:65536/d", "the port is no number from 1 to 65535"},
    {"mysql://u@[::1]x/d", "the port is no number from 1 to 65535"},
    {"mysql://u<:se%zzcret|>@h/d", "a '%' is not followed by two hexadecimal digits"},
    {"mysql://u%00@h/d", "it holds a NUL"},
    {"mysql://u@h/d?socket=/s&<pw=secret|...>", "a parameter is none of socket, ssl-ca and defaults-group"},
    {"mysql://u@h/d?socket=", "a parameter has no value"},
    {"mysql://u@h/d<\n|\\x0A>", "cannot connect: Unknown server host 'h' (-2)"},
    {"mysql://u<:secret|>@localhost/d?socket=/nowhere/s",
     "cannot connect: Can't connect to local server through socket '/nowhere/s' (2)"},
    {"sqlite:", "it names no file"},
    {"sqlite:/nowhere/db", "cannot open the file: No such file or directory"},
    {"sqlite:/", "cannot open the file: Is a directory"},
};

TEST(DatabaseUrl, RefusalsNameTheUrlWithoutItsPassword)
{
  for (const auto& [url, reason] : kRefusals)
    EXPECT_EQ(refusalOf(url), reason) << url;
  const TempDir folder;
  put(folder / "text", "this is no database, whatever its length may be, and has no header of one");
  EXPECT_EQ(refusalOf("sqlite:" + folder / "text"), "cannot enter WAL mode: file is not a database");
}

TEST(DatabaseUrl, TakesThePasswordFromWhereItIsKept)
{
  const TempDir folder;
  put(folder / ".my.cnf", "[annomend]\npassword=s/e:c@r%t\n[other]\npassword=wrong-secret\n");
  const auto withFile =
      [file = folder / "password"](const std::string& url, const std::string& text, mode_t mode = 0640)
  {
    put(file, text);
    chmod(file.c_str(), mode);
    return refusalOf(url, "/", file);
  };
  MariaDbServer::shared().run("CREATE OR REPLACE USER 'a b'@localhost IDENTIFIED BY 's/e:c@r%t'");
  const std::string place = "@localhost/information_schema?socket=" + MariaDbServer::shared().socket();
  const std::string name = "mysql://a%20b" + place;
  const std::string denied = "cannot connect: Access denied for user 'a b'@'localhost' (using password: ";
  EXPECT_EQ(refusalOf("mysql://a%20b:s%2Fe%3Ac%40r%25t" + place), "");
  EXPECT_EQ(refusalOf(name, folder / ""), "");
  for (const char* text : {"s/e:c@r%t", "s/e:c@r%t\n", "s/e:c@r%t\r\nmore"})
    EXPECT_EQ(withFile(name, text), "") << text;
  for (const char* text : {"", "\n", "\r\ns/e:c@r%t"})
    EXPECT_EQ(withFile(name, text), "the file that TARN_DB_PASSWORD_FILE names cannot be read, or is empty") << text;
  EXPECT_EQ(withFile(name, "s/e:c@r%t\n", 0644), "the file that TARN_DB_PASSWORD_FILE names is open to other accounts");
  EXPECT_EQ(refusalOf(name), denied + "NO)");
  EXPECT_EQ(refusalOf(name + "&defaults-group=other", folder / ""), denied + "YES)");
  EXPECT_EQ(withFile("mysql://a%20b<:wrong-secret|>" + place, "s/e:c@r%t"), denied + "YES)");
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
  MariaDbServer plain("--skip-ssl"); // newer servers make themselves a certificate
  EXPECT_EQ(refusalOf(plain.createDatabase() + trusting),
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
      semaphore.lock_ms(30000, 1, 1.5, 20, 0.4F);
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

TEST(ReadingAlone, NoticesThatTheFileChanges)
{
  if (geteuid() != 0)
    GTEST_SKIP() << "permission bits hold for other accounts";
  const TempDir folder;
  chmod(folder.path().c_str(), 0755);
  const ScopedEnvironment url("TARN_DB_URL", "sqlite:" + folder / "archive.db");
  const auto addReference = [](const char* name)
  {
    const auto db = DBConnectorSql::open(Missing::create);
    db->createTables();
    db->references().addReference("1", "STUDYDIR", name);
  };
  addReference("a");
  ASSERT_EQ(seteuid(65534), 0);
  const auto reader = DBConnectorSql::open(Missing::refuse);
  ASSERT_EQ(seteuid(0), 0);
  const std::string query = "SELECT NAME FROM object_references";
  EXPECT_EQ(select(*reader, query), Lines{"a"});
  EXPECT_THROW(reader->tryLock("OBJCACHE_1"), DBException);
  std::this_thread::sleep_for(std::chrono::milliseconds(20)); // the clock of files is a coarse one
  addReference("b");
  EXPECT_THROW(select(*reader, query), DBException);
}

TEST(DefaultDatabase, IsInMemoryWhereItCannotBe)
{
  const Environment environment{{{"TARN_DB_URL", std::nullopt}, {"XDG_STATE_HOME", "relative"}, {"HOME", "relative"}}};
  const auto db = DBConnector::createConnector(), next = DBConnector::createConnector();
  db->objCache().setObjCacheStatus("1", kObjCacheValid);
  EXPECT_FALSE(next->objCache().isObjCacheValid("1")) << "one database for both";
  IMSemaphoreGlobal first("x", db.get()), second("x", next.get());
  first.lock_ms(0, 1, 1, 1, 0);
  second.lock_ms(0, 1, 1, 1, 0);
  EXPECT_FALSE(std::filesystem::exists("relative"));
}

} // namespace
} // namespace tarn::db
