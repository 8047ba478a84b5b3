#include "tests/support/Environment.h"
#include "tests/support/Files.h"
#include "tests/support/LogFile.h"
#include "tests/support/Processes.h"
#include "tests/support/TempDir.h"

#include "repository/client/IMRepositoryHandlerIface.h"

#include <gtest/gtest.h>

#include <memory>

#include <dlfcn.h>
#include <unwind.h>

namespace fs = std::filesystem;
using namespace tarn::repository;

namespace
{

std::string taken(char* text)
{
  const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
  return text ? text : "";
}

/// The repository "meta": two ordinary mounts and an aged one. The library is called as the rest of the system does.
class Repositories : public testing::Test
{
protected:
  Repositories()
  {
    for (const char* folder : {"etc", "one", "two", "old"})
      fs::create_directory(home.path() / folder);
    fs::create_directory_symlink(ANNOMEND_HANDLER_HOME "/lib", home / "lib");
    configure("meta=" + mount("one") + ":" + mount("two") + "\nmeta.aged=" + mount("old") + "\n");
  }
  std::string mount(const std::string& name) const { return home / name; }
  void configure(const std::string& text) const { put(home / "etc/repositories.conf", text); }

  // These give the path, or the status where there is none.
  static std::string locate(const char* name, bool includeAged = true)
  {
    int status = 0;
    const std::string path = taken(getLocation("meta", name, &status, includeAged, true, true, nullptr));
    EXPECT_EQ(path.empty(), status != kLocated);
    return path.empty() ? std::to_string(status) : path;
  }
  static std::string create(const char* name, bool exclusive = false)
  {
    int status = 0, existed = -1;
    const std::string path = taken(createDirectory("meta", name, &status, &existed, exclusive, true, nullptr));
    return path.empty() ? std::to_string(status) : path + (existed == 0 ? "" : ", existed");
  }
  static int find(const char* name, bool skipLocked = false, bool skipDirty = false)
  {
    std::list<std::string> locations;
    const int status = getLocations("meta", name, locations, skipLocked, skipDirty, nullptr);
    EXPECT_EQ(locations.empty(), status != kLocated);
    return status;
  }
  static int remove(const char* name) { return removeResource("meta", name, nullptr); }

  const TempDir home;
  const Environment environment{{{"REPOSITORYHANDLER_HOME", home.path()}}};
};

/// What the two forms of the calls log where there is no library, and where it lacks the entry points. The class keeps
/// those that it found: it is not used before.
TEST_F(Repositories, BothFormsTellWhatCannotBeLoaded)
{
  const std::string absent = "/absent/lib/RepositoryHandler.so: cannot open shared object file: No such file or "
                             "directory\n";
  const std::string called = "called createDirectory with repository=meta subDir=s shouldLock=true\n";
  const std::string error = "error IMRepositoryHandlerIface: ", info = "info IMRepositoryHandlerIface: ";
  const std::string failed = error + "EXCEPTION: dlopen error";
  const std::string processList = "/tmp/error_ps." + std::to_string(getpid()) + ".txt";
  using Iface = IMRepositoryHandlerIface;
  {
    const ScopedEnvironment nowhere("REPOSITORYHANDLER_HOME", "/absent");
    const LogFile log;
    EXPECT_EQ(createDirectory("meta", "s", nullptr, nullptr, false, true, nullptr), nullptr);
    Iface::init();
    EXPECT_EQ(Iface::createDirectory("meta", "s", nullptr, nullptr, false, true, nullptr), nullptr);
    EXPECT_EQ(log.lines(), info + called + error + "dlopen error: " + absent + failed +
                               " (/absent/lib/RepositoryHandler.so): " + absent + failed + ": " + absent + info +
                               "error: not " + called);
  }
  EXPECT_NE(contents(processList).find("PID"), std::string::npos);
  fs::remove(processList);
  const std::string lackingPath = home / "old/lib/RepositoryHandler.so"; // a copy, which nothing else keeps loaded
  Dl_info other{};
  dladdr(reinterpret_cast<void*>(&_Unwind_GetIP), &other); // NOLINT: what dladdr is for
  fs::create_directory(mount("old/lib"));
  fs::copy_file(other.dli_fname, lackingPath);
  std::list<std::string> locations;
  {
    const ScopedEnvironment without("REPOSITORYHANDLER_HOME", mount("old"));
    const LogFile log;
    EXPECT_EQ(getLocations("meta", "s", locations, false, false, nullptr), -1);
    EXPECT_EQ(Iface::getLocations("meta", "s", locations, false, false, nullptr), -1);
    const std::string lacking = lackingPath + ": undefined symbol: getLocations_\n";
    EXPECT_EQ(log.lines(),
              error + "dlsym error initTask: " + lacking + error + "EXCEPTION: dlsym error getLocations_: " + lacking);
  }
  EXPECT_TRUE(fs::remove(processList));
  EXPECT_EQ(Iface::getLocations("meta", "s", locations, false, false, nullptr), kMissing) << "found at the next call";
}

TEST_F(Repositories, StatusOfNamesAndOfWhatStandsUnderThem)
{
  const std::string longest(200, '7');
  fs::create_directories(mount("two/1.2.3"));
  fs::create_directories(mount("one/" + longest));
  put(mount("one/file"), "x");
  fs::create_symlink("/etc", mount("one/link"));
  const std::pair<std::string, int> rows[] = {
      {"1.2.3", kLocated},       {"1.2.4", kMissing},  {longest, kLocated},        {longest + "7", kNameRefused},
      {"", kNameRefused},        {"..", kNameRefused}, {"1.2.3/..", kNameRefused}, {"/etc", kNameRefused},
      {".hidden", kNameRefused}, {"file", kFailed},    {"link", kFailed}};
  for (const auto& [text, expected] : rows)
  {
    SCOPED_TRACE(text);
    const char* const name = text.c_str();
    const std::string refusal = std::to_string(expected);
    EXPECT_EQ(locate(name) == refusal, expected != kLocated);
    EXPECT_EQ(checkResourceStatus("meta", name, nullptr), expected);
    EXPECT_EQ(find(name), expected);
    if (expected == kLocated || expected == kMissing)
      continue;
    EXPECT_EQ(create(name), refusal);
    EXPECT_EQ(remove(name), expected);
  }
}

TEST_F(Repositories, StatusOfRepositories)
{
  configure("meta=" + mount("one") + "\nlost=" + mount("one") + ":" + mount("lost") + "\nrelative=one\nempty=\n");
  fs::create_directory(mount("one/here"));
  const std::string one = mount("one//");
  constexpr int kUnknown = kUnknownRepository, kGone = kMountUnreachable;
  const struct
  {
    const char* repository;
    int whole, here, absent;
  } rows[] = {{"meta", kLocated, kLocated, kMissing},  {one.c_str(), kLocated, kLocated, kMissing},
              {"lost", kGone, kLocated, kGone},        {"relative", kGone, kGone, kGone},
              {"empty", kUnknown, kUnknown, kUnknown}, {nullptr, kUnknown, kUnknown, kUnknown}};
  for (const auto& row : rows)
  {
    SCOPED_TRACE(row.repository ? row.repository : "(null)");
    EXPECT_EQ(getRepositoryStatus(row.repository, nullptr), row.whole);
    EXPECT_EQ(checkResourceStatus(row.repository, "here", nullptr), row.here);
    EXPECT_EQ(checkResourceStatus(row.repository, "absent", nullptr), row.absent);
  }
  fs::remove(mount("etc/repositories.conf"));
  EXPECT_EQ(checkResourceStatus("meta", "here", nullptr), kUnknown);
  fs::create_directory(mount("etc/repositories.conf"));
  EXPECT_EQ(checkResourceStatus("meta", "here", nullptr), kGone) << "what cannot be read is not empty";
}

TEST_F(Repositories, ADirectoryIsMadeOnceAndWhereThereIsRoom)
{
  configure("meta=" + mount("one") + ":" + mount("two") + "\nmeta.reserve=101\n");
  put(mount("one/.overloaded"), "");
  int status = 0, existed = -1;
  EXPECT_EQ(taken(createLocation("meta", "a", &status, &existed, false, nullptr)), mount("two/a"));
  EXPECT_EQ(existed, 0);
  EXPECT_FALSE(fs::exists(mount("two/a")));
  EXPECT_EQ(create("a"), mount("two/a"));
  checkOverload("meta", false, nullptr);
  EXPECT_TRUE(fs::exists(mount("two/.overloaded")));
  EXPECT_TRUE(fs::exists(create("b"))) << "where all are overloaded, none is turned away";
  EXPECT_EQ(create("a"), mount("two/a, existed"));
  EXPECT_EQ(create("a", true), std::to_string(kExisting));
  configure("meta=" + mount("one") + ":" + mount("two") + "\nmeta.reserve=0\n");
  checkOverload("meta", true, nullptr);
  EXPECT_FALSE(fs::exists(mount("one/.overloaded")));
  EXPECT_GT(freeMount("meta", mount("one").c_str(), nullptr), 100) << "mebibytes, no per cent";
}

TEST_F(Repositories, RemovalTakesAllOfIt)
{
  fs::create_directories(mount("one/s/deep"));
  fs::create_directories(mount("old/s"));
  fs::create_symlink(mount("two"), mount("one/s/link"));
  put(mount("two/kept"), "x");
  fs::create_directories(mount("one/.s.removed/half")); // of an interrupted removal
  setDirty("meta", "s", true, nullptr);
  EXPECT_EQ(remove("s"), kDone);
  EXPECT_EQ(remove("s"), kMissing);
  EXPECT_TRUE(fs::is_empty(mount("one")));
  EXPECT_TRUE(fs::is_empty(mount("old")));
  EXPECT_TRUE(fs::exists(mount("two/kept")));
}

TEST_F(Repositories, ALockKeepsOtherProcessesOut)
{
  fs::create_directory(mount("two/s"));
  const auto lock = [] { return lockResource("meta", "s", nullptr) ? 1 : 0; };
  const auto unlock = [] { return unlockResource("meta", "s", nullptr) ? 1 : 0; };
  const std::string file = mount("one/.s.lock");
  EXPECT_FALSE(lockResource("meta", "absent", nullptr));
  EXPECT_EQ(statusOf(inChild(lock)), 1);
  EXPECT_EQ(lock(), 1) << "the process that held it has ended";
  EXPECT_EQ(lock(), 0);
  EXPECT_EQ(statusOf(inChild(lock)), 0);
  EXPECT_EQ(statusOf(inChild(unlock)), 0);
  EXPECT_EQ(statusOf(inChild([] { return remove("s"); })), kLocked);
  EXPECT_EQ(statusOf(inChild([] { return find("s", true); })), kLocked);
  EXPECT_EQ(unlock(), 1);
  EXPECT_EQ(unlock(), 0);
  put(file, "elsewhere 1\n");
  EXPECT_EQ(lock(), 0) << "a process of another host may live";
  fs::remove(file);
  fs::create_directory(file);
  EXPECT_EQ(lock(), 0) << "what cannot be read may be another's lock";
  EXPECT_EQ(remove("s"), kFailed);
}

TEST_F(Repositories, AnAgedResourceIsFoundAndBroughtBackWhole)
{
  fs::create_directories(mount("old/s/sub"));
  put(mount("old/s/sub/file"), "text");
  fs::create_directories(mount("two/.s.moving/half")); // of an interrupted move
  EXPECT_EQ(locate("s"), mount("old/s"));
  EXPECT_EQ(locate("s", false), std::to_string(kMissing));
  utimbuf times{1000, 2000};
  EXPECT_TRUE(setTimeProperties("meta", "s", &times, nullptr));
  setDirty("meta", "s", true, nullptr);
  put(mount("one/.s.lock"), "elsewhere 1\n");
  EXPECT_EQ(taken(unAge("meta", "s", nullptr)), "") << "it is locked elsewhere";
  EXPECT_TRUE(fs::exists(mount("old/s")) && fs::remove(mount("one/.s.lock")));
  EXPECT_FALSE(fs::exists(mount("one/s")) || fs::exists(mount("two/s")));
  put(mount("one/.overloaded"), "");
  for (int round = 0; round < 2; ++round)
    EXPECT_EQ(taken(unAge("meta", "s", nullptr)), mount("two/s"));
  EXPECT_EQ(taken(unAge("meta", "absent", nullptr)), "");
  EXPECT_TRUE(fs::is_empty(mount("old")));
  EXPECT_EQ(namesIn(mount("one")), std::vector<std::string>{".overloaded"}) << "the lock is given back";
  EXPECT_EQ(contents(mount("two/s/sub/file")), "text");
  EXPECT_FALSE(fs::exists(mount("two/s/half")));
  EXPECT_FALSE(getTimeProperties("meta", "absent", &times, nullptr));
  EXPECT_TRUE(getTimeProperties("meta", "s", &times, nullptr));
  EXPECT_EQ(times.modtime, 2000);
  EXPECT_TRUE(isDirty("meta", "s", nullptr));
  EXPECT_EQ(find("s", false, true), kDirty);
  setDirty("meta", "s", false, nullptr);
  EXPECT_FALSE(isDirty("meta", "s", nullptr));
}

TEST_F(Repositories, ListingsHoldOneKindInByteOrder)
{
  const std::string folder = mount("one");
  for (const char* name : {"b", "a", "Z", ".h"})
    put(folder + "/" + name, "x");
  fs::create_directory(folder + "/d");
  fs::create_symlink("/etc", folder + "/ld");
  fs::create_symlink("/etc/passwd", folder + "/lf");
  long count = 0;
  using Names = std::vector<std::string>;
  const std::unique_ptr<char*, decltype(&std::free)> files(listFiles(folder.c_str(), &count, false, nullptr),
                                                           &std::free);
  ASSERT_EQ(count, 4);
  EXPECT_EQ(Names(files.get(), files.get() + count), (Names{".h", "Z", "a", "b"}));
  EXPECT_EQ(files.get()[count], nullptr);
  const std::unique_ptr<char*, decltype(&std::free)> folders(listDirs(folder.c_str(), &count, true, nullptr),
                                                             &std::free);
  EXPECT_EQ(Names(folders.get(), folders.get() + count), Names{folder + "/d"});
  EXPECT_EQ(listFiles((folder + "/absent").c_str(), &count, false, nullptr), nullptr);
  EXPECT_EQ(count, -1);
}

} // namespace
