#include "tests/support/Environment.h"
#include "tests/support/Files.h"
#include "tests/support/LogFile.h"
#include "tests/support/Processes.h"
#include "tests/support/TempDir.h"

#include "repository/client/IMRepositoryHandlerIface.h"

#include <gtest/gtest.h>

#include <memory>
#include <tuple>

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

using Iface = IMRepositoryHandlerIface;
const std::string kError = "error IMRepositoryHandlerIface: ", kInfo = "info IMRepositoryHandlerIface: ";
const std::string kProcessList = "/tmp/error_ps." + std::to_string(getpid()) + ".txt";

// The class keeps the entry points that it found: in a process of many cases, this one comes first.
TEST_F(Repositories, BothFormsTellThatTheLibraryIsAbsent)
{
  const std::string absent = "/absent/lib/RepositoryHandler.so: cannot open shared object file: No such file or "
                             "directory\n";
  const std::string call = "called createDirectory with repository=meta subDir=s shouldLock=true\n";
  auto nowhere = std::make_unique<ScopedEnvironment>("REPOSITORYHANDLER_HOME", "/absent");
  const LogFile ofFunction;
  EXPECT_EQ(createDirectory("meta", "s", nullptr, nullptr, false, true, nullptr), nullptr);
  EXPECT_EQ(ofFunction.lines(), kInfo + call + kError + "dlopen error: " + absent);
  const LogFile ofInit;
  Iface::init();
  EXPECT_EQ(ofInit.lines(), kError + "EXCEPTION: dlopen error (/absent/lib/RepositoryHandler.so): " + absent);
  const LogFile ofClass;
  EXPECT_EQ(Iface::createDirectory("meta", "s", nullptr, nullptr, false, true, nullptr), nullptr);
  EXPECT_EQ(ofClass.lines(), kError + "EXCEPTION: dlopen error: " + absent + kInfo + "error: not " + call);
  const auto isPrivateList = []
  {
    const auto status = fs::symlink_status(kProcessList);
    const bool isPrivate = fs::is_regular_file(status) && status.permissions() == fs::perms(0600);
    return fs::exists(status) && isPrivate && contents(kProcessList).find("PID") != std::string::npos;
  };
  EXPECT_TRUE(isPrivateList());
  put(home / "victim", "whole");
  fs::remove(kProcessList);
  fs::create_symlink(home / "victim", kProcessList);
  Iface::init();
  EXPECT_TRUE(isPrivateList());
  EXPECT_EQ(contents(home / "victim"), "whole");
  fs::remove(kProcessList);
  const LogFile ofRelative;
  {
    const ScopedEnvironment relative("REPOSITORYHANDLER_HOME", fs::relative(home.path()).c_str());
    EXPECT_EQ(getRepositoryStatus("meta", nullptr), -1);
  }
  EXPECT_EQ(ofRelative.lines(), kError + "dlopen error: " + fs::relative(home.path()).string() +
                                    "/lib/RepositoryHandler.so: REPOSITORYHANDLER_HOME is no absolute path\n");
  nowhere.reset();
  std::list<std::string> locations;
  EXPECT_EQ(Iface::getLocations("meta", "s", locations, false, false, nullptr), kMissing) << "found at the next call";
}

const std::tuple<const char*, std::string, int> kNameRows[] = {
    {"present", "1.2.3", kLocated},
    {"absent", "1.2.4", kMissing},
    {"the longest", std::string(200, '7'), kLocated},
    {"too long", std::string(201, '7'), kNameRefused},
    {"empty", "", kNameRefused},
    {"the parent", "..", kNameRefused},
    {"the parent of one", "1.2.3/..", kNameRefused},
    {"absolute", "/etc", kNameRefused},
    {"hidden", ".hidden", kNameRefused},
    {"a file", "file", kFailed},
    {"a link to a directory", "link", kFailed},
};

TEST_F(Repositories, ANameHasTheSameStatusInEveryCall)
{
  fs::create_directories(mount("two/1.2.3"));
  fs::create_directories(mount("one/" + std::string(200, '7')));
  put(mount("one/file"), "x");
  fs::create_symlink("/etc", mount("one/link"));
  for (const auto& [fact, resource, status] : kNameRows)
  {
    SCOPED_TRACE(fact);
    const char* const name = resource.c_str();
    EXPECT_EQ(locate(name) == std::to_string(status), status != kLocated);
    EXPECT_EQ(checkResourceStatus("meta", name, nullptr), status);
    EXPECT_EQ(find(name), status);
    if (status == kLocated || status == kMissing)
      continue;
    EXPECT_EQ(create(name), std::to_string(status));
    EXPECT_EQ(remove(name), status);
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
  EXPECT_EQ(checkResourceStatus("meta", "here", nullptr), kUnknown) << "no configuration is an empty one";
  fs::create_directory(mount("etc/repositories.conf"));
  EXPECT_EQ(checkResourceStatus("meta", "here", nullptr), kGone) << "what cannot be read is not empty";
}

TEST_F(Repositories, ADirectoryIsMadeOnce)
{
  int status = 0, existed = -1;
  const std::string place = taken(createLocation("meta", "a", &status, &existed, false, nullptr));
  EXPECT_EQ(existed, 0);
  EXPECT_FALSE(fs::exists(place)) << "a location is a place only";
  put(mount("one/.overloaded"), "");
  EXPECT_EQ(create("a"), mount("two/a"));
  EXPECT_EQ(create("a"), mount("two/a, existed"));
  EXPECT_EQ(create("a", true), std::to_string(kExisting));
}

TEST_F(Repositories, AnOverloadedMountTakesNothingNew)
{
  configure("meta=" + mount("one") + ":" + mount("two") + "\nmeta.reserve=101\n");
  put(mount("one/.overloaded"), "");
  EXPECT_EQ(taken(createLocation("meta", "a", nullptr, nullptr, false, nullptr)), mount("two/a"));
  checkOverload("meta", false, nullptr);
  EXPECT_TRUE(fs::exists(mount("two/.overloaded"))) << "no mount has 101 per cent free";
  EXPECT_TRUE(fs::exists(create("b"))) << "where all are overloaded, none is turned away";
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
  EXPECT_EQ(remove("s"), kMissing) << "it is gone";
  EXPECT_TRUE(fs::is_empty(mount("one"))) << "with its flag and what an interrupted removal left";
  EXPECT_TRUE(fs::is_empty(mount("old")));
  EXPECT_TRUE(fs::exists(mount("two/kept"))) << "links are not followed";
}

TEST_F(Repositories, ALockKeepsOtherProcessesOut)
{
  const auto lock = [] { return lockResource("meta", "s", nullptr) ? 1 : 0; };
  const auto unlock = [] { return unlockResource("meta", "s", nullptr) ? 1 : 0; };
  EXPECT_EQ(lock(), 0) << "there is nothing to lock";
  fs::create_directory(mount("two/s"));
  EXPECT_EQ(statusOf(inChild(lock)), 1);
  EXPECT_EQ(lock(), 1) << "the process that held it has ended";
  EXPECT_EQ(lock(), 0) << "this process has it already";
  EXPECT_EQ(statusOf(inChild(lock)), 0);
  EXPECT_EQ(statusOf(inChild(unlock)), 0) << "only the holder gives it back";
  EXPECT_EQ(statusOf(inChild([] { return remove("s"); })), kLocked);
  EXPECT_EQ(statusOf(inChild([] { return find("s", true); })), kLocked);
  EXPECT_EQ(unlock(), 1);
  EXPECT_EQ(unlock(), 0) << "it is given back once";
}

TEST_F(Repositories, ALockThatMayHoldKeepsThisProcessOut)
{
  const std::string file = mount("one/.s.lock");
  fs::create_directory(mount("two/s"));
  put(file, "elsewhere 2147483647\n"); // which is no process here
  EXPECT_FALSE(lockResource("meta", "s", nullptr)) << "a process of another host may live";
  fs::remove(file);
  put(mount("two/victim"), "text");
  fs::create_hard_link(mount("two/victim"), file);
  EXPECT_FALSE(lockResource("meta", "s", nullptr));
  EXPECT_EQ(contents(mount("two/victim")), "text") << "no other file is written through a link";
  fs::remove(file);
  fs::create_directory(file);
  EXPECT_FALSE(lockResource("meta", "s", nullptr)) << "what cannot be read may be another's lock";
  EXPECT_EQ(remove("s"), kFailed);
}

/// The repository with a resource "s" in the aged mount.
struct AgedResource : Repositories
{
  AgedResource() { put(mount("old/s/sub/file"), "text"); }
  /// Brings it back; its new path, or nothing.
  static std::string broughtBack(const char* name = "s") { return taken(unAge("meta", name, nullptr)); }
};

TEST_F(AgedResource, IsFoundWhenAskedAndStaysWhileItIsLockedElsewhere)
{
  EXPECT_EQ(locate("s", false), std::to_string(kMissing));
  put(mount("one/.s.lock"), "elsewhere 1\n");
  EXPECT_EQ(broughtBack(), "");
  EXPECT_EQ(locate("s"), mount("old/s"));
  EXPECT_FALSE(fs::exists(mount("one/s")) || fs::exists(mount("two/s")));
}

TEST_F(AgedResource, IsBroughtBackWhole)
{
  fs::create_directories(mount("two/.s.moving/half")); // of an interrupted move
  put(mount("one/.overloaded"), "");
  EXPECT_EQ(broughtBack(), mount("two/s"));
  EXPECT_EQ(broughtBack(), mount("two/s")) << "it is there already";
  EXPECT_EQ(broughtBack("absent"), "");
  EXPECT_TRUE(fs::is_empty(mount("old")));
  EXPECT_EQ(namesIn(mount("one")), std::vector<std::string>{".overloaded"}) << "the lock is given back";
  EXPECT_EQ(contents(mount("two/s/sub/file")), "text");
  EXPECT_FALSE(fs::exists(mount("two/s/half")));
}

TEST_F(AgedResource, TakesNoRightsOfAnotherAccountOver)
{
  const std::string file = mount("old/s/sub/file"), copy = mount("one/s/sub/file");
  if (chown(file.c_str(), 65534, 65534) != 0)
    GTEST_SKIP() << "only root makes files of another account";
  fs::permissions(file, fs::perms(06777));
  EXPECT_EQ(broughtBack(), mount("one/s"));
  EXPECT_EQ(contents(copy), "text");
  EXPECT_EQ(static_cast<unsigned>(fs::status(copy).permissions()) & 07133U, 0U) << "set-id, execution, others' writing";
}

TEST_F(AgedResource, KeepsItsTimesAndItsFlag)
{
  utimbuf given{1000, 2000}, times{};
  EXPECT_FALSE(getTimeProperties("meta", "absent", &times, nullptr));
  EXPECT_TRUE(setTimeProperties("meta", "s", &given, nullptr));
  setDirty("meta", "s", true, nullptr);
  EXPECT_NE(broughtBack(), "");
  EXPECT_TRUE(fs::is_empty(mount("old"))) << "no flag stays behind";
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
  const auto names = [&count](char** list)
  {
    const std::unique_ptr<char*, decltype(&std::free)> owner(list, &std::free);
    return std::vector<std::string>(list, list ? list + count : list);
  };
  EXPECT_EQ(names(listFiles(folder.c_str(), &count, false, nullptr)), (std::vector<std::string>{".h", "Z", "a", "b"}));
  EXPECT_EQ(names(listDirs(folder.c_str(), &count, true, nullptr)), std::vector<std::string>{folder + "/d"});
  EXPECT_EQ(listFiles((folder + "/absent").c_str(), &count, false, nullptr), nullptr);
  EXPECT_EQ(count, -1);
}

} // namespace
