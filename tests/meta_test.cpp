#include "Environment.h"
#include "LogFile.h"
#include "TempDir.h"

#include "ArchiveAdmin.h"
#include "DBConnectorSql.h"
#include "IMException.h"
#include "MetaManager.h"
#include "SqlSession.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace fs = std::filesystem;
using namespace tarn::utils;

namespace
{

std::string contents(const fs::path& file)
{
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

/// A folder with the repositories data, meta and temp, each its own only mount. Texts may name it {}.
class MetaTest : public testing::Test
{
protected:
  MetaTest()
  {
    for (const char* repository : {"data", "meta", "temp", "conf"})
      fs::create_directory(root / repository);
  }
  std::string filled(std::string text) const
  {
    for (auto at = text.find("{}"); at != std::string::npos; at = text.find("{}"))
      text.replace(at, 2, root.string());
    return text;
  }
  /// A file holds its own path, so that it can be told from others.
  void put(const std::string& file) const
  {
    fs::create_directories((root / file).parent_path());
    if (file.back() != '/')
      std::ofstream(root / file) << file;
  }
  std::vector<std::string> list(const std::string& place) const
  {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(root / place))
      names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

  const TempDir folder;
  const fs::path root = folder.path();
  const Environment environment{{{"REPOSITORYHANDLER_HOME", ANNOMEND_HANDLER_HOME},
                                 {"REPOSITORY_META", root / "meta"},
                                 {"REPOSITORY_TEMPMETA", root / "temp"},
                                 {"REPOSITORY_DICOM_DATA", root / "data"},
                                 {"TARGETTBL", "forward_targets"},
                                 {"DEVSERVTBL", "forward_services"},
                                 {"CONF", root / "conf"}}};
};

enum Flags
{
  kNothing = 0,
  kCreate = 1,
  kUseTemp = 2,
  kCheckStoreState = 4
};

struct Look
{
  const char* oddity;
  std::vector<std::string> files;
  int flags;
  StatusEnum status;
  std::string metaDir;
  std::string log;
  Environment::Variables variables;
  std::vector<std::string> metaFiles; // in the meta directory afterwards
};

const char kDebug[] = "debug MetaMgr: ";
const char kError[] = "error MetaMgr: ";

const std::vector<Look> kLooks = {
    {"NoMetaVariable",
     {},
     7,
     STATUS_ERROR,
     "",
     std::string(kDebug) + "Missing environment variable: REPOSITORY_META\n",
     {{"REPOSITORY_META", std::nullopt}, {"REPOSITORY_TEMPMETA", std::nullopt}},
     {}},
    {"NoTempVariable",
     {},
     7,
     STATUS_ERROR,
     "",
     std::string(kDebug) + "Missing environment variable: REPOSITORY_TEMPMETA\n",
     {{"REPOSITORY_TEMPMETA", ""}},
     {}},
    {"Found", {"meta/s/storestate.rec"}, kCheckStoreState, STATUS_OK, "{}/meta/s", "", {}, {"storestate.rec"}},
    {"FoundWithoutStoreStateUnchecked",
     {"meta/s/x", "data/s/storestate.rec"},
     kNothing,
     STATUS_OK,
     "{}/meta/s",
     "",
     {},
     {"x"}},
    {"NothingCanFill", {"meta/s/x", "data/s/CT.1"}, kCheckStoreState, STATUS_OK, "{}/meta/s", "", {}, {"x"}},
    {"FilledAndKept",
     {"meta/s/order", "data/s/order", "data/s/objectdb.meta", "data/s/storestate.rec", "data/s/CT.1"},
     kCheckStoreState,
     STATUS_OK,
     "{}/meta/s",
     "",
     {},
     {"objectdb.meta", "order", "storestate.rec"}},
    {"MetaUnreachable",
     {"data/s/objectdb.meta"},
     7,
     STATUS_REPOSITORY_ERROR,
     "",
     std::string(kError) + "MetaManager::getMeta() repository error while locating meta for s. Status code: 16\n",
     {{"REPOSITORY_META", "{}/absent"}},
     {}},
    {"MetaUnknown",
     {},
     kNothing,
     STATUS_REPOSITORY_ERROR,
     "",
     std::string(kError) + "MetaManager::getMeta() repository error while locating meta for s. Status code: 2\n",
     {{"REPOSITORY_META", "unknown"}},
     {}},
    {"Missing", {"temp/s/order"}, kCheckStoreState, STATUS_MISSING, "", "", {}, {}},
    {"NoDataVariable",
     {"data/s/objectdb.meta"},
     kCheckStoreState,
     STATUS_MISSING,
     "",
     std::string(kDebug) + "Missing environment variable: REPOSITORY_DICOM_DATA\n",
     {{"REPOSITORY_DICOM_DATA", std::nullopt}},
     {}},
    {"DataUnreachable",
     {},
     kCheckStoreState | kCreate,
     STATUS_REPOSITORY_ERROR,
     "",
     std::string(kError) + "MetaManager::getMeta() repository error while locating data for s. Status code: 16\n",
     {{"REPOSITORY_DICOM_DATA", "{}/absent"}},
     {}},
    {"DataOnlyImages", {"data/s/CT.1"}, kCheckStoreState, STATUS_MISSING, "", "", {}, {}},
    {"LegacyStoreState",
     {"data/s/storestate.rec", "data/s/CT.1"},
     kCheckStoreState,
     STATUS_OK,
     "{}/meta/s",
     "",
     {},
     {"storestate.rec"}},
    {"LegacyObjectMeta",
     {"data/s/objectdb.meta", "data/s/resend"},
     kCheckStoreState | kCreate,
     STATUS_OK,
     "{}/meta/s",
     std::string(kError) + "Error getting autoforward devices: no database connection\n",
     {},
     {"objectdb.meta", "resend", "storestate.rec"}},
    {"LegacyWithoutDeviceTables",
     {"data/s/objectdb.meta"},
     kCheckStoreState,
     STATUS_ERROR,
     "",
     std::string(kError) + "MetaManager::copyLegacy() copying the legacy meta of s failed: Missing environment "
                           "variables:  TARGETTBL, DEVSERVTBL\n",
     {{"TARGETTBL", std::nullopt}},
     {}},
    {"Parked", {"temp/s/order"}, kUseTemp, STATUS_OK_TEMP, "{}/temp/s", "", {}, {}},
    {"NotParked", {}, kUseTemp, STATUS_MISSING, "", "", {}, {}},
    {"ParkedUnreachable",
     {},
     kUseTemp,
     STATUS_REPOSITORY_ERROR,
     "",
     std::string(kError) + "MetaManager::getMeta() repository error while locating tempmeta for s. Status code: 16\n",
     {{"REPOSITORY_TEMPMETA", "{}/absent"}},
     {}},
    {"CreatedAndRestored",
     {"temp/s/order", "temp/s/moveto"},
     kCreate | kUseTemp,
     STATUS_OK_NEW,
     "{}/meta/s",
     "info IMRepositoryHandlerIface: called createDirectory with repository={}/meta subDir=s shouldLock=true\n",
     {},
     {"moveto", "order"}},
};

class GetMeta : public MetaTest, public testing::WithParamInterface<Look>
{
};

TEST_P(GetMeta, Gives)
{
  const Look& look = GetParam();
  for (const std::string& file : look.files)
    put(file);
  Environment::Variables variables;
  for (const auto& [name, value] : look.variables)
    variables[name] = value ? std::optional<std::string>(filled(*value)) : std::nullopt;
  const Environment changed(variables);
  const LogFile log;
  std::string metaDir = "before";
  const Status status = MetaManager().getMeta("s", look.flags & kCreate, look.flags & kUseTemp, metaDir, nullptr,
                                              look.flags & kCheckStoreState);
  EXPECT_EQ(status.value(), look.status);
  EXPECT_EQ(metaDir, filled(look.metaDir));
  EXPECT_EQ(log.lines(), filled(look.log));
  EXPECT_EQ(fs::exists(root / "meta/s") ? list("meta/s") : std::vector<std::string>(), look.metaFiles);
  EXPECT_EQ(list("meta").size(), fs::exists(root / "meta/s") ? 1U : 0U) << "nothing is left beside it";
  for (const std::string& file : look.files)
  {
    const bool moved = file.rfind("temp", 0) == 0 && look.status == STATUS_OK_NEW;
    EXPECT_EQ(contents(root / file), moved ? "" : file) << "what was there stays";
  }
}

INSTANTIATE_TEST_SUITE_P(Ways, GetMeta, testing::ValuesIn(kLooks), [](const auto& row) { return row.param.oddity; });

TEST_F(MetaTest, NamesNeverLeaveTheRepository)
{
  put("objectdb.meta");
  for (const char* study : {"", "..", "meta/..", "../data", "/etc"})
  {
    const LogFile log;
    std::string metaDir;
    const Status status = MetaManager().getMeta(study, true, true, metaDir, nullptr, true);
    EXPECT_EQ(status.value(), STATUS_REPOSITORY_ERROR) << study;
    EXPECT_EQ(metaDir, "") << study;
    EXPECT_EQ(log.lines(), std::string(kError) + "MetaManager::getMeta() repository error while locating meta for " +
                               study + ". Status code: 8\n");
  }
}

TEST_F(MetaTest, LinksAndPipesOfALegacyDirectoryAreNotCopied)
{
  put("data/s/storestate.rec");
  fs::create_symlink("/etc/passwd", root / "data/s/order");
  ASSERT_EQ(mkfifo((root / "data/s/objectdb.meta").c_str(), 0600), 0);
  std::string metaDir;
  ASSERT_TRUE(MetaManager().getMeta("s", false, false, metaDir, nullptr, true));
  EXPECT_EQ(list("meta/s"), std::vector<std::string>{"storestate.rec"});
}

struct ModeRow
{
  const char* record;
  const char* mode;
};

TEST_F(MetaTest, TheDefaultStoreStateNamesModeAndDevices)
{
  const Environment database{{{"TARN_DB_URL", "sqlite:" + (root / "db").string()}}};
  const auto db = tarn::db::DBConnectorSql::open(tarn::db::Missing::create);
  tarn::db::ArchiveAdmin(*db).createSchema();
  for (const char* device : {"('PACS','P',1)", "('B','C',1)", "('OFF','P',0)", "('X','X',1)", "('A','C',1)"})
  {
    std::string name, type, forward;
    std::istringstream values(std::string(device).substr(1));
    std::getline(std::getline(std::getline(values, name, ','), type, ','), forward, ')');
    db->session().execute("INSERT INTO forward_targets VALUES (" + name + "," + type + ")");
    db->session().execute("INSERT INTO forward_services VALUES (" + name + ",'store'," + forward + ")");
  }
  MetaConn conn(db.get());
  for (const ModeRow& row : {ModeRow{"", "Process"},
                             {"ProcessMode=Store\n", "Store"},
                             {"ProcessMode=store\n", "Process"},
                             {"ProcessMode=Database\n", "Process"}})
  {
    std::ofstream(root / "conf/self.rec") << row.record;
    EXPECT_TRUE(MetaManager().createDefaultStorestate(root / "state", conn));
    EXPECT_EQ(contents(root / "state"), std::string("Version=\"1\"\nProcessMode=\"") + row.mode +
                                            "\"\nStudyOwner=\"yes\"\nForwardDevices=\"A B PACS\"\n");
  }
  EXPECT_FALSE(MetaManager().createDefaultStorestate("/dev/full", conn));
  for (const char* variable : {"TARGETTBL", "DEVSERVTBL"})
  {
    const ScopedEnvironment unset(variable, std::nullopt);
    try
    {
      MetaManager().createDefaultStorestate(root / "state", conn);
      ADD_FAILURE() << variable;
    }
    catch (const tarn::imutils::IMException& failure)
    {
      EXPECT_STREQ(failure.what(), "Missing environment variables:  TARGETTBL, DEVSERVTBL");
    }
  }
}

TEST_F(MetaTest, FilesMoveAlsoAcrossFileSystems)
{
  const TempDir memory("/dev/shm");
  struct stat here
  {
  }, there{};
  ASSERT_EQ(stat(root.c_str(), &here) | stat(memory.path().c_str(), &there), 0);
  ASSERT_NE(here.st_dev, there.st_dev) << "/dev/shm has to be a file system of its own";
  const MetaManager manager;
  const LogFile log;
  for (const fs::path& target : {root / "near", memory.path() / "far"})
  {
    put("file");
    EXPECT_TRUE(manager.moveFile(root / "file", target));
    EXPECT_EQ(contents(target), "file");
    EXPECT_FALSE(fs::exists(root / "file"));
    EXPECT_FALSE(fs::exists(target.string() + ".temp"));
  }
  put("folder/");
  put("file");
  fs::create_directory(memory.path() / "folder");
  const std::string far = memory.path(), near = root;
  EXPECT_FALSE(manager.moveFile(root / "absent", root / "x"));
  EXPECT_FALSE(manager.moveFile(root / "folder", memory.path() / "x"));
  EXPECT_FALSE(manager.moveFile(root / "file", memory.path() / "folder"));
  const std::string start = std::string(kError) + "MetaManager::saveToTempMeta() ";
  EXPECT_EQ(log.lines(), start + "moving " + near + "/absent to " + near + "/x failed: No such file or directory\n" +
                             start + "copying " + near + "/folder to temporary file " + far +
                             "/x.temp failed: Invalid argument\n" + start + "renaming temporary file " + far +
                             "/folder.temp to " + far + "/folder failed: Is a directory\n");
  EXPECT_TRUE(fs::exists(root / "file"));
  EXPECT_FALSE(fs::exists(memory.path() / "folder.temp"));
}

TEST_F(MetaTest, DeletingParksTheMovableFilesAndCreatingRestoresThem)
{
  MetaManager manager;
  for (const char* name : {"order", "obsinfo.rec", "derivationInfo", "multihub.info", "moveto", "movehere.uids",
                           "movehere.mod", "resend", "storestate.rec", "objectdb.meta"})
    put(std::string("meta/s/") + name);
  EXPECT_TRUE(manager.deleteMeta("s", nullptr));
  EXPECT_TRUE(list("meta").empty());
  EXPECT_EQ(list("temp/s"), (std::vector<std::string>{"derivationInfo", "movehere.mod", "movehere.uids", "moveto",
                                                      "multihub.info", "obsinfo.rec", "order", "resend"}));
  put("meta/s/order");
  MetaConn conn(nullptr);
  const LogFile log;
  EXPECT_EQ(manager.restoreFromTempMeta("s", root / "meta/s", conn).value(), STATUS_OK);
  EXPECT_EQ(log.lines(), std::string(kError) + "MetaManager::restoreFromTempMeta(): order already exists in the meta "
                                               "repository for s; skip moving from tempmeta\n");
  EXPECT_EQ(contents(root / "meta/s/order"), "meta/s/order");
  EXPECT_EQ(list("meta/s").size(), 8U);
  EXPECT_TRUE(list("temp").empty());
  EXPECT_EQ(manager.restoreFromTempMeta("s", root / "meta/s", conn).value(), STATUS_MISSING);
  EXPECT_FALSE(manager.deleteTemp("s", nullptr));
  put("temp/s/order");
  EXPECT_TRUE(manager.deleteTemp("s", nullptr));
}

TEST_F(MetaTest, NothingIsDeletedThatCouldNotBeParked)
{
  put("meta/s/order");
  put("temp/s/order/in the way");
  const LogFile log;
  EXPECT_FALSE(MetaManager().deleteMeta("s", nullptr));
  EXPECT_EQ(contents(root / "meta/s/order"), "meta/s/order");
  const struct
  {
    const char* variable;
    std::optional<std::string> value;
    std::string lines;
  } rows[] = {
      {"REPOSITORY_META", std::nullopt, std::string(kDebug) + "Missing environment variable: REPOSITORY_META\n"},
      {"REPOSITORY_META", "unknown",
       std::string(kError) + "MetaManager::saveToTempMeta() repository error while locating meta for s. Status code: "
                             "2\ndebug MetaMgr: Saving files to tempMeta failed\n"},
      {"REPOSITORY_TEMPMETA", "unknown",
       "info IMRepositoryHandlerIface: called createDirectory with repository=unknown subDir=s shouldLock=true\n" +
           std::string(kError) +
           "MetaManager::saveToTempMeta() creating tempmeta directory for s study failed\n"
           "debug MetaMgr: Saving files to tempMeta failed\n"},
  };
  for (const auto& row : rows)
  {
    const ScopedEnvironment changed(row.variable, row.value);
    const LogFile more;
    EXPECT_FALSE(MetaManager().deleteMeta("s", nullptr));
    EXPECT_EQ(more.lines(), row.lines);
  }
  EXPECT_TRUE(fs::exists(root / "meta/s/order"));
}

TEST_F(MetaTest, WhatCannotBeRestoredStaysParked)
{
  put("temp/s/order");
  MetaConn conn(nullptr);
  const LogFile log;
  EXPECT_EQ(MetaManager().restoreFromTempMeta("s", root / "absent", conn).value(), STATUS_ERROR);
  const std::string parked = (root / "temp/s/order").string(), target = (root / "absent/order").string();
  EXPECT_EQ(log.lines(), std::string(kError) + "MetaManager::saveToTempMeta() moving " + parked + " to " + target +
                             " failed: No such file or directory\n" + kError +
                             "MetaManager::restoreFromTempMeta() Moving files to meta failed: order\n");
  EXPECT_TRUE(fs::exists(parked));
  EXPECT_EQ(MetaManager().restoreFromTempMeta("..", root / "absent", conn).value(), STATUS_REPOSITORY_ERROR);
}

} // namespace
