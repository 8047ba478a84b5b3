#include "Environment.h"
#include "Files.h"
#include "LogFile.h"
#include "Processes.h"
#include "TempDir.h"

#include "IMRepositoryHandlerIface.h"

#include "RepositoryHandler.h"

#include <gtest/gtest.h>

#include <memory>

#include <dlfcn.h>
#include <unwind.h>

namespace fs = std::filesystem;
using namespace tarn::repository;

namespace
{

/// The library's entry points, as a program gets them.
class Handler
{
public:
  template <class Function>
  Function* entry(const char* name) const
  {
    return reinterpret_cast<Function*>(dlsym(library.get(), name)); // NOLINT: what dlsym is for
  }

private:
  std::shared_ptr<void> library{dlopen(ANNOMEND_HANDLER_HOME "/lib/RepositoryHandler.so", RTLD_NOW), dlclose};
};

#define HANDLER(name) (*handler.entry<decltype(name)>(#name))

std::string taken(char* text)
{
  const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
  return text ? text : "";
}

std::vector<std::string> taken(char** texts)
{
  const std::unique_ptr<char*, decltype(&std::free)> owner(texts, &std::free);
  std::vector<std::string> result;
  for (char** text = texts; text && *text; ++text)
    result.emplace_back(*text);
  return result;
}

/// The repository "meta": two ordinary mounts and an aged one.
class Repositories : public testing::Test
{
protected:
  Repositories()
  {
    for (const char* folder : {"etc", "one", "two", "old"})
      fs::create_directory(home.path() / folder);
    configure("meta=" + mount("one") + ":" + mount("two") + "\nmeta.aged=" + mount("old") + "\n");
  }
  std::string mount(const std::string& name) const { return home / name; }
  void configure(const std::string& text) const { std::ofstream(home.path() / "etc/repositories.conf") << text; }
  std::string locate(const char* repository, const char* name, int& status) const
  {
    return taken(HANDLER(getLocation_)(repository, name, &status, true, true, true, false, nullptr));
  }
  std::string create(const char* name, int& status, int& existed, bool exclusive = false) const
  {
    return taken(HANDLER(createDirectory_)("meta", name, &status, &existed, exclusive, true, true, nullptr));
  }

  const Handler handler;
  const TempDir home;
  const Environment environment{{{"REPOSITORYHANDLER_HOME", home.path()}}};
};

TEST_F(Repositories, StatusOfNamesAndOfWhatStandsUnderThem)
{
  const std::string longest(200, '7');
  fs::create_directories(mount("two/1.2.3"));
  fs::create_directories(mount("one/.hidden"));
  fs::create_directories(mount("one/" + longest));
  std::ofstream(mount("one/file")) << "x";
  fs::create_symlink("/etc", mount("one/link"));
  fs::create_symlink(mount("nowhere"), mount("one/dangling"));
  const std::pair<std::string, int> rows[] = {
      {"1.2.3", kLocated},    {"1.2.4", kMissing},       {longest, kLocated},  {longest + "7", kNameRefused},
      {"", kNameRefused},     {".", kNameRefused},       {"..", kNameRefused}, {"1.2.3/..", kNameRefused},
      {"/etc", kNameRefused}, {".hidden", kNameRefused}, {"file", kFailed},    {"link", kFailed},
      {"dangling", kFailed}};
  for (const auto& [text, expected] : rows)
  {
    SCOPED_TRACE(text);
    const char* const name = text.c_str();
    int status = 0;
    int existed = -1;
    EXPECT_EQ(locate("meta", name, status).empty(), expected != kLocated);
    EXPECT_EQ(status, expected);
    EXPECT_EQ(HANDLER(checkResourceStatus_)("meta", name, nullptr), expected);
    std::list<std::string> locations;
    EXPECT_EQ(HANDLER(getLocations_)("meta", name, locations, false, false, nullptr), expected);
    if (expected == kLocated || expected == kMissing)
      continue;
    EXPECT_EQ(create(name, status, existed), "");
    EXPECT_EQ(status, expected);
    EXPECT_EQ(HANDLER(removeResource_)("meta", name, true, true, nullptr), expected);
  }
  EXPECT_TRUE(fs::exists("/etc/passwd"));
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
    EXPECT_EQ(HANDLER(getRepositoryStatus_)(row.repository, nullptr), row.whole);
    EXPECT_EQ(HANDLER(checkResourceStatus_)(row.repository, "here", nullptr), row.here);
    EXPECT_EQ(HANDLER(checkResourceStatus_)(row.repository, "absent", nullptr), row.absent);
  }
  fs::remove(home.path() / "etc/repositories.conf");
  EXPECT_EQ(HANDLER(checkResourceStatus_)("meta", "here", nullptr), kUnknown);
  fs::create_directory(home.path() / "etc/repositories.conf");
  EXPECT_EQ(HANDLER(checkResourceStatus_)("meta", "here", nullptr), kGone) << "what cannot be read is not empty";
}

TEST_F(Repositories, ADirectoryIsMadeOnceAndWhereThereIsRoom)
{
  int status = 0;
  int existed = -1;
  configure("meta=" + mount("one") + ":" + mount("two") + "\nmeta.reserve=101\n");
  std::ofstream(mount("one/.overloaded")) << "";
  EXPECT_EQ(taken(HANDLER(createLocation_)("meta", "a", &status, &existed, false, nullptr)), mount("two/a"));
  EXPECT_EQ(existed, 0);
  EXPECT_FALSE(fs::exists(mount("two/a")));
  EXPECT_EQ(create("a", status, existed), mount("two/a"));
  EXPECT_EQ(existed, 0);
  HANDLER(checkOverload_)("meta", true, false, nullptr);
  EXPECT_TRUE(fs::exists(mount("two/.overloaded")));
  EXPECT_NE(create("b", status, existed), "") << "where all are overloaded, none is turned away";
  EXPECT_EQ(create("a", status, existed), mount("two/a"));
  EXPECT_EQ(existed, 1);
  EXPECT_EQ(create("a", status, existed, true), "");
  EXPECT_EQ(status, kExisting);
  configure("meta=" + mount("one") + ":" + mount("two") + "\nmeta.reserve=0\n");
  HANDLER(checkOverload_)("meta", true, true, nullptr);
  EXPECT_FALSE(fs::exists(mount("one/.overloaded")));
}

TEST_F(Repositories, RemovalTakesAllOfIt)
{
  fs::create_directories(mount("one/s/deep"));
  fs::create_directories(mount("old/s"));
  fs::create_symlink(mount("two"), mount("one/s/link"));
  std::ofstream(mount("two/kept")) << "x";
  fs::create_directories(mount("one/.s.removed/half")); // of an interrupted removal
  HANDLER(setDirty_)("meta", "s", true, nullptr);
  EXPECT_EQ(HANDLER(removeResource_)("meta", "s", true, true, nullptr), kDone);
  EXPECT_EQ(HANDLER(removeResource_)("meta", "s", true, true, nullptr), kMissing);
  EXPECT_TRUE(fs::is_empty(mount("one")));
  EXPECT_TRUE(fs::is_empty(mount("old")));
  EXPECT_TRUE(fs::exists(mount("two/kept")));
}

TEST_F(Repositories, ALockKeepsOtherProcessesOut)
{
  fs::create_directory(mount("two/s"));
  const auto lock = [&] { return HANDLER(lockResource_)("meta", "s", nullptr) ? 1 : 0; };
  const auto unlock = [&] { return HANDLER(unlockResource_)("meta", "s", nullptr) ? 1 : 0; };
  EXPECT_FALSE(HANDLER(lockResource_)("meta", "absent", nullptr));
  EXPECT_EQ(statusOf(inChild(lock)), 1);
  EXPECT_EQ(lock(), 1) << "the process that held it has ended";
  EXPECT_EQ(lock(), 0);
  EXPECT_EQ(statusOf(inChild(lock)), 0);
  EXPECT_EQ(statusOf(inChild(unlock)), 0);
  const auto remove = [&] { return HANDLER(removeResource_)("meta", "s", true, true, nullptr); };
  EXPECT_EQ(statusOf(inChild(remove)), kLocked);
  std::list<std::string> locations;
  const auto find = [&] { return HANDLER(getLocations_)("meta", "s", locations, true, false, nullptr); };
  EXPECT_EQ(statusOf(inChild(find)), kLocked);
  EXPECT_EQ(unlock(), 1);
  EXPECT_EQ(unlock(), 0);
  std::ofstream(mount("one/.s.lock")) << "elsewhere 1\n";
  EXPECT_EQ(lock(), 0) << "a process of another host may live";
  fs::remove(mount("one/.s.lock"));
  fs::create_directory(mount("one/.s.lock"));
  EXPECT_EQ(lock(), 0) << "what cannot be read may be another's lock";
  EXPECT_EQ(remove(), kFailed);
}

TEST_F(Repositories, AnAgedResourceThatIsLockedElsewhereStays)
{
  fs::create_directory(mount("old/s"));
  std::ofstream(mount("one/.s.lock")) << "elsewhere 1\n";
  EXPECT_EQ(taken(HANDLER(unAge_)("meta", "s", nullptr)), "");
  EXPECT_TRUE(fs::exists(mount("old/s")));
  EXPECT_TRUE(fs::exists(mount("one/.s.lock")));
  EXPECT_FALSE(fs::exists(mount("one/s")) || fs::exists(mount("two/s")));
}

TEST_F(Repositories, AnAgedResourceIsFoundAndBroughtBackWhole)
{
  fs::create_directories(mount("old/s/sub"));
  std::ofstream(mount("old/s/sub/file")) << "text";
  fs::create_directories(mount("two/.s.moving/half")); // of an interrupted move
  utimbuf times{1000, 2000};
  int status = 0;
  EXPECT_EQ(locate("meta", "s", status), mount("old/s"));
  EXPECT_EQ(taken(HANDLER(getLocation_)("meta", "s", &status, false, true, true, false, nullptr)), "");
  EXPECT_EQ(status, kMissing);
  HANDLER(setTimeProperties_)("meta", "s", &times, nullptr);
  HANDLER(setDirty_)("meta", "s", true, nullptr);
  std::ofstream(mount("one/.overloaded")) << "";
  for (int round = 0; round < 2; ++round)
    EXPECT_EQ(taken(HANDLER(unAge_)("meta", "s", nullptr)), mount("two/s"));
  EXPECT_EQ(taken(HANDLER(unAge_)("meta", "absent", nullptr)), "");
  EXPECT_TRUE(fs::is_empty(mount("old")));
  EXPECT_EQ(fs::file_size(mount("two/s/sub/file")), 4U);
  EXPECT_FALSE(fs::exists(mount("two/s/half")));
  EXPECT_TRUE(HANDLER(isDirty_)("meta", "s", nullptr));
  EXPECT_TRUE(HANDLER(getTimeProperties_)("meta", "s", &times, nullptr));
  EXPECT_EQ(times.modtime, 2000);
}

TEST_F(Repositories, DirtyFlagsAndTimes)
{
  fs::create_directory(mount("two/s"));
  HANDLER(setDirty_)("meta", "s", true, nullptr);
  EXPECT_TRUE(HANDLER(isDirty_)("meta", "s", nullptr));
  std::list<std::string> locations;
  EXPECT_EQ(HANDLER(getLocations_)("meta", "s", locations, false, true, nullptr), kDirty);
  HANDLER(setDirty_)("meta", "s", false, nullptr);
  EXPECT_FALSE(HANDLER(isDirty_)("meta", "s", nullptr));

  utimbuf times{1000, 2000};
  EXPECT_TRUE(HANDLER(setTimeProperties_)("meta", "s", &times, nullptr));
  times = {};
  EXPECT_TRUE(HANDLER(getTimeProperties_)("meta", "s", &times, nullptr));
  EXPECT_TRUE(times.actime == 1000 && times.modtime == 2000);
  EXPECT_FALSE(HANDLER(getTimeProperties_)("meta", "absent", &times, nullptr));
  EXPECT_FALSE(HANDLER(setTimeProperties_)("meta", "s", nullptr, nullptr));
}

TEST_F(Repositories, ListingsHoldOneKindInByteOrder)
{
  const std::string folder = mount("one");
  for (const char* name : {"b", "a", "Z", ".h"})
    std::ofstream(folder + "/" + name) << "x";
  fs::create_directory(folder + "/d");
  fs::create_symlink("/etc", folder + "/ld");
  fs::create_symlink("/etc/passwd", folder + "/lf");
  long count = 0;
  EXPECT_EQ(taken(HANDLER(listFiles_)(folder.c_str(), &count, false, nullptr)),
            (std::vector<std::string>{".h", "Z", "a", "b"}));
  EXPECT_EQ(count, 4);
  EXPECT_EQ(taken(HANDLER(listDirs_)(folder.c_str(), nullptr, true, nullptr)), std::vector{folder + "/d"});
  EXPECT_EQ(HANDLER(listFiles_)((folder + "/absent").c_str(), &count, false, nullptr), nullptr);
  EXPECT_EQ(count, -1);
}

/// Both forms of the calls add the same constants.
template <class Operations>
void expectConstants(const fs::path& home)
{
  const fs::path one = home / "one", two = home / "two";
  int status = 0;
  int existed = 0;
  EXPECT_EQ(Operations::getLocation("meta", "s", &status, true, true, true, nullptr), nullptr);
  EXPECT_EQ(status, kMissing) << "never made on the way";
  fs::create_directory(two / "s");
  EXPECT_EQ(taken(Operations::getLocation("meta", "s", &status, true, true, true, nullptr)), two / "s");
  EXPECT_EQ(taken(Operations::createDirectory("meta", "s", &status, &existed, false, true, nullptr)), two / "s");
  EXPECT_EQ(existed, 1);
  fs::create_directory(one / "s");
  std::ofstream(one / ".s.lock") << "elsewhere 1\n";
  EXPECT_EQ(Operations::removeResource("meta", "s", nullptr), kLocked) << "a lock is honoured";
  fs::remove(one / ".s.lock");
  EXPECT_EQ(Operations::removeResource("meta", "s", nullptr), kDone);
  EXPECT_FALSE(fs::exists(one / "s") || fs::exists(two / "s")) << "on all mounts";
  Operations::checkOverload("meta", false, nullptr);
  EXPECT_TRUE(fs::remove(one / ".overloaded")) << "marks";
  EXPECT_GT(Operations::freeMount("meta", one.c_str(), nullptr), 100) << "mebibytes, no per cent";
}

/// What the two forms of the calls log where there is no library, and where it lacks the entry points.
TEST_F(Repositories, BothFormsTellWhatCannotBeLoaded)
{
  configure("meta=" + mount("one") + ":" + mount("two") + "\nmeta.reserve=101\n");
  const std::string own = home / "lib/RepositoryHandler.so"; // a copy, which nothing else keeps loaded
  const std::string lackingPath = home / "lacking/lib/RepositoryHandler.so";
  for (const std::string& path : {own, lackingPath})
    fs::create_directories(fs::path(path).parent_path());
  fs::copy_file(ANNOMEND_HANDLER_HOME "/lib/RepositoryHandler.so", own);
  Dl_info other{};
  dladdr(reinterpret_cast<void*>(&_Unwind_GetIP), &other); // NOLINT: what dladdr is for
  fs::copy_file(other.dli_fname, lackingPath);
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
  {
    const ScopedEnvironment without("REPOSITORYHANDLER_HOME", home / "lacking");
    const LogFile log;
    std::list<std::string> locations;
    EXPECT_EQ(getLocations("meta", "s", locations, false, false, nullptr), -1);
    EXPECT_EQ(Iface::getLocations("meta", "s", locations, false, false, nullptr), -1);
    const std::string lacking = lackingPath + ": undefined symbol: getLocations_\n";
    EXPECT_EQ(log.lines(),
              error + "dlsym error initTask: " + lacking + error + "EXCEPTION: dlsym error getLocations_: " + lacking);
  }
  expectConstants<PlainOperations>(home.path());
  expectConstants<Iface>(home.path());
}

} // namespace
