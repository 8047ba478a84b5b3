#include "tests/support/ArchiveFolder.h"
#include "tests/support/Files.h"
#include "tests/support/LogFile.h"

#include "db/DBConnectorSql.h"
#include "base/IMException.h"
#include "study/meta/MetaManager.h"
#include "db/SqlSession.h"

#include <gtest/gtest.h>

#include <iterator>
#include <tuple>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace tarn::utils;

namespace
{

using Words = std::vector<std::string>;

/// Texts may name the folder {}.
class MetaTest : public testing::Test, protected ArchiveFolder
{
protected:
  std::string filled(const std::string& text) const { return replaced(text, "{}", root); }
  /// A file holds its own path, so that it can be told from others.
  void put(const std::string& file) const { ::put(root / file, file); }
  Words list(const std::string& place) const { return fs::exists(root / place) ? namesIn(root / place) : Words(); }
};

const std::string kDebug = "debug MetaMgr: ";
const std::string kError = "error MetaMgr: ";
const std::string kNoTables = "Missing environment variables:  TARGETTBL, DEVSERVTBL\n";
const std::string kNotSet = kDebug + "Missing environment variable: ";
const std::string kLocating = kError + "MetaManager::getMeta() repository error while locating ";
const std::string kSaving = kError + "MetaManager::saveToTempMeta() ";
const std::string kCalled = "info IMRepositoryHandlerIface: called createDirectory with repository=";

/// Lists are words between blanks.
struct Look
{
  const char* odd;
  std::string files;
  std::string asked; // c: create, t: use what is parked, s: check the store state
  StatusEnum status;
  std::string log{};
  std::string metaFiles{};       // in the meta directory afterwards
  const char* lacks = "nothing"; // a variable or a repository's folder
};

constexpr StatusEnum kUnusable = STATUS_REPOSITORY_ERROR;
const std::string kGone = " for s. Status code: 16\n";
const Look kLooks[] = {
    {"NoMetaVariable", "", "cts", STATUS_ERROR, kNotSet + "REPOSITORY_META\n", "", "REPOSITORY_META"},
    {"NoTempVariable", "", "cts", STATUS_ERROR, kNotSet + "REPOSITORY_TEMPMETA\n", "", "REPOSITORY_TEMPMETA"},
    {"Found", "meta/s/storestate.rec", "s", STATUS_OK, "", "storestate.rec"},
    {"FilledAndKept", "meta/s/order data/s/order data/s/objectdb.meta data/s/storestate.rec data/s/CT.1", "s",
     STATUS_OK, "", "objectdb.meta order storestate.rec"},
    {"MetaGone", "data/s/objectdb.meta", "cts", kUnusable, kLocating + "meta" + kGone, "", "meta"},
    {"Missing", "temp/s/order", "s", STATUS_MISSING},
    {"NoDataVariable", "data/s/objectdb.meta", "s", STATUS_MISSING, kNotSet + "REPOSITORY_DICOM_DATA\n", "",
     "REPOSITORY_DICOM_DATA"},
    {"DataGone", "", "sc", kUnusable, kLocating + "data" + kGone, "", "data"},
    {"DataGoneButMetaThere", "meta/s/order", "s", STATUS_OK, "", "order", "data"},
    {"LegacyStoreState", "data/s/storestate.rec data/s/CT.1", "s", STATUS_OK, "", "storestate.rec"},
    {"LegacyObjectMeta", "data/s/objectdb.meta data/s/resend", "sc", STATUS_OK,
     kError + "Error getting autoforward devices: no database connection\n", "objectdb.meta resend storestate.rec"},
    {"LegacyWithoutTables", "data/s/objectdb.meta", "s", STATUS_ERROR,
     kError + "MetaManager::copyLegacy() copying the legacy meta of s failed: " + kNoTables, "", "TARGETTBL"},
    {"Parked", "temp/s/order", "t", STATUS_OK_TEMP},
    {"ParkedGone", "", "t", kUnusable, kLocating + "tempmeta" + kGone, "", "temp"},
    {"CreatedAndRestored", "temp/s/order temp/s/moveto", "ct", STATUS_OK_NEW,
     kCalled + "{}/meta subDir=s shouldLock=true\n", "moveto order"},
};

Words words(const std::string& text)
{
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

class GetMeta : public MetaTest, public testing::WithParamInterface<Look>
{
};

TEST_P(GetMeta, Gives)
{
  const Look& look = GetParam();
  for (const std::string& file : words(look.files))
    put(file);
  const ScopedEnvironment unset(look.lacks, std::nullopt);
  fs::remove(root / look.lacks);
  const auto asks = [&look](char letter) { return look.asked.find(letter) != std::string::npos; };
  const LogFile log;
  std::string metaDir = "before";
  const Status status = MetaManager().getMeta("s", asks('c'), asks('t'), metaDir, nullptr, asks('s'));
  EXPECT_EQ(status.value(), look.status);
  EXPECT_EQ(metaDir, look.status == STATUS_OK_TEMP ? folder / "temp/s" : status ? folder / "meta/s" : "");
  EXPECT_EQ(log.lines(), filled(look.log));
  EXPECT_EQ(list("meta/s"), words(look.metaFiles));
  EXPECT_EQ(list("meta").size(), fs::exists(root / "meta/s") ? 1U : 0U) << "nothing is left beside it";
  for (const std::string& file : words(look.files))
  {
    const bool moved = file.rfind("temp", 0) == 0 && look.status == STATUS_OK_NEW;
    EXPECT_EQ(contents(root / file), moved ? "" : file) << "what was there stays";
  }
}

INSTANTIATE_TEST_SUITE_P(Ways, GetMeta, testing::ValuesIn(kLooks), [](const auto& row) { return row.param.odd; });

TEST_F(MetaTest, LinksAndPipesOfALegacyDirectoryAreNotCopied)
{
  const std::string left = "meta/.s." + std::to_string(getpid()) + ".part/order"; // by a process that was killed
  put(left);
  put("data/s/storestate.rec");
  fs::create_symlink("/etc/passwd", root / "data/s/order");
  ASSERT_EQ(mkfifo((root / "data/s/objectdb.meta").c_str(), 0600), 0);
  std::string metaDir;
  ASSERT_TRUE(MetaManager().getMeta("s", false, false, metaDir, nullptr, true));
  EXPECT_EQ(list("meta/s"), Words{"storestate.rec"});
  EXPECT_EQ(contents(root / left), left);
}

// The host's record is read from one place as long as the process lives: one case for both.
TEST_F(MetaTest, StoreStateNamesModeAndDevicesOrStays)
{
  const ScopedEnvironment url("TARN_DB_URL", "sqlite:" + folder / "db");
  const auto db = tarn::db::DBConnectorSql::open(tarn::db::Missing::create);
  const MetaConn conn(db.get());
  const auto write = [&] { return MetaManager().createDefaultStorestate(root / "state", conn); };
  db->createTables();
  db->session().execute("INSERT INTO forward_targets VALUES ('b','P'),('X','X'),('a','C'),('B','C'),('c','P')");
  db->session().execute("INSERT INTO forward_services VALUES ('b','store',1),('b','query',1),('X','store',1),"
                        "('a','store',1),('B','store',1),('c','store',0)");
  for (const auto& [given, mode] : {std::pair("Store", "Store"), std::pair("store", "Process")})
  {
    std::ofstream(root / "conf/self.rec") << "ProcessMode=" << given << "\n";
    EXPECT_TRUE(write());
    EXPECT_EQ(contents(root / "state"), std::string("Version=\"1\"\nProcessMode=\"") + mode +
                                            "\"\nStudyOwner=\"yes\"\nForwardDevices=\"B a b\"\n");
  }
  put("state");
  {
    const ScopedEnvironment unset("DEVSERVTBL", std::nullopt);
    EXPECT_THROW((void)write(), tarn::imutils::IMException);
  }
  fs::remove(root / "conf/self.rec");
  fs::create_directory(root / "conf/self.rec");
  const LogFile log;
  EXPECT_FALSE(write());
  EXPECT_EQ(log.lines(), filled(kError + "MetaManager::createDefaultStorestate() writing {}/state failed: "
                                         "{}/conf/self.rec cannot be read: Is a directory\n"));
  EXPECT_EQ(contents(root / "state"), "state");
}

TEST_F(MetaTest, FilesMoveAlsoAcrossFileSystems)
{
  const TempDir memory("/dev/shm"); // a file system of its own
  const std::string far = memory.path(), near = root;
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {"file", far + "/moved", ""},
      {"absent", near + "/x", "moving " + near + "/absent to " + near + "/x failed: No such file or directory\n"},
      {"in", far + "/x", "copying " + near + "/in to temporary file " + far + "/x.temp failed: Invalid argument\n"},
      {"file", far, "renaming temporary file " + far + ".temp to " + far + " failed: Is a directory\n"},
  };
  for (const auto& [name, target, failure] : rows)
  {
    put("file");
    const LogFile log;
    EXPECT_EQ(MetaManager().moveFile(root / name, target), failure.empty()) << target;
    EXPECT_EQ(log.lines(), failure.empty() ? "" : kSaving + failure);
    EXPECT_EQ(contents(root / "file") + contents(target), "file");
    EXPECT_FALSE(fs::exists(target + ".temp"));
  }
}

TEST_F(MetaTest, DeletingParksTheMovableFilesAndCreatingRestoresThem)
{
  const std::string movable = "derivationInfo movehere.mod movehere.uids moveto multihub.info obsinfo.rec order resend";
  MetaManager manager;
  for (const std::string& name : words(movable + " storestate.rec objectdb.meta"))
    put("meta/s/" + name);
  EXPECT_TRUE(manager.deleteMeta("s", nullptr));
  EXPECT_TRUE(list("meta").empty());
  EXPECT_EQ(list("temp/s"), words(movable));
  put("meta/s/order");
  const MetaConn conn(nullptr);
  const LogFile log;
  EXPECT_EQ(manager.restoreFromTempMeta("s", root / "absent", conn).value(), STATUS_ERROR);
  const std::string failed = log.lines(), behind = " failed: No such file or directory\n";
  EXPECT_NE(failed.find(behind + kError + "MetaManager::restoreFromTempMeta() Moving files to meta failed: "),
            std::string::npos);
  EXPECT_EQ(list("temp/s"), words(movable));
  EXPECT_EQ(manager.restoreFromTempMeta("s", root / "meta/s", conn).value(), STATUS_OK);
  EXPECT_EQ(log.lines(), failed + kError +
                             "MetaManager::restoreFromTempMeta(): order already exists in the meta "
                             "repository for s; skip moving from tempmeta\n");
  EXPECT_EQ(contents(root / "meta/s/order"), "meta/s/order");
  EXPECT_EQ(list("meta/s"), words(movable));
  EXPECT_TRUE(list("temp").empty());
  EXPECT_EQ(manager.restoreFromTempMeta("s", root / "meta/s", conn).value(), STATUS_MISSING);
  EXPECT_FALSE(manager.deleteTemp("s", nullptr));
}

TEST_F(MetaTest, NothingIsDeletedThatCouldNotBeParked)
{
  put("meta/s/order");
  put("temp/s/order/in the way");
  const std::string subDir = " subDir=s shouldLock=true\n" + kSaving;
  const std::pair<const char*, std::string> rows[] = {
      {"UNUSED", kCalled + "{}/temp" + subDir + "moving {}/meta/s/order to {}/temp/s/order failed: Is a directory\n"},
      {"REPOSITORY_META", kSaving + "repository error while locating meta for s. Status code: 2\n"},
      {"REPOSITORY_TEMPMETA", kCalled + "unknown" + subDir + "creating tempmeta directory for s study failed\n"},
  };
  for (const auto& [variable, lines] : rows)
  {
    const ScopedEnvironment changed(variable, "unknown");
    const LogFile log;
    EXPECT_FALSE(MetaManager().deleteMeta("s", nullptr));
    EXPECT_EQ(log.lines(), filled(lines) + kDebug + "Saving files to tempMeta failed\n");
  }
  EXPECT_EQ(contents(root / "meta/s/order"), "meta/s/order");
}

} // namespace
