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
  std::ofstream(mount("plain")) << "x";
  const std::string plain = mount("plain"), one = mount("one//");
  constexpr int kUnknown = kUnknownRepository, kGone = kMountUnreachable;
  const struct
  {
    const char* repository;
    int whole, here, absent;
  } rows[] = {{"meta", kLocated, kLocated, kMissing}, {one.c_str(), kLocated, kLocated, kMissing},
              {"lost", kGone, kLocated, kGone},       {"relative", kGone, kGone, kGone},
              {plain.c_str(), kGone, kGone, kGone},   {"other", kUnknown, kUnknown, kUnknown},
              {"", kUnknown, kUnknown, kUnknown},     {nullptr, kUnknown, kUnknown, kUnknown},
              {"empty", kUnknown, kUnknown, kUnknown}};
  for (const auto& row : rows)
  {
    const char* name = row.repository ? row.repository : "(null)";
    EXPECT_EQ(HANDLER(getRepositoryStatus_)(row.repository, nullptr), row.whole) << name;
    EXPECT_EQ(HANDLER(checkResourceStatus_)(row.repository, "here", nullptr), row.here) << name;
    EXPECT_EQ(HANDLER(checkResourceStatus_)(row.repository, "absent", nullptr), row.absent) << name;
  }
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

TEST_F(Repositories, AConfigurationThatCannotBeReadIsNotAnEmptyOne)
{
  fs::remove(home.path() / "etc/repositories.conf");
  EXPECT_EQ(HANDLER(checkResourceStatus_)("meta", "s", nullptr), kUnknownRepository);
  fs::create_directory(home.path() / "etc/repositories.conf");
  EXPECT_EQ(HANDLER(checkResourceStatus_)("meta", "s", nullptr), kMountUnreachable);
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

TEST_F(Repositories, DirtyFlagsAndTimes)
{
  fs::create_directory(mount("two/s"));
  EXPECT_FALSE(HANDLER(isDirty_)("meta", "s", nullptr));
  HANDLER(setDirty_)("meta", "absent", true, nullptr);
  EXPECT_FALSE(HANDLER(isDirty_)("meta", "absent", nullptr));
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
  EXPECT_EQ(times.actime, 1000);
  EXPECT_EQ(times.modtime, 2000);
  EXPECT_FALSE(HANDLER(getTimeProperties_)("meta", "absent", &times, nullptr));
  EXPECT_FALSE(HANDLER(setTimeProperties_)("meta", "s", nullptr, nullptr));
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
  EXPECT_EQ(taken(HANDLER(listDirs_)(folder.c_str(), &count, true, nullptr)), std::vector<std::string>{folder + "/d"});
  EXPECT_EQ(count, 1);
  EXPECT_EQ(HANDLER(listFiles_)((folder + "/absent").c_str(), &count, false, nullptr), nullptr);
  EXPECT_EQ(count, -1);
  EXPECT_EQ(HANDLER(listFiles_)(nullptr, nullptr, false, nullptr), nullptr);
}

TEST_F(Repositories, MountsOfPaths)
{
  fs::create_directories(mount("two/s"));
  configure("meta=" + mount("one") + ":" + mount("two") + ":" + mount("two/s"));
  const auto mountOf = [&](const std::string& path)
  { return taken(HANDLER(getMountFromPath_)("meta", path.c_str(), nullptr)); };
  EXPECT_EQ(mountOf(mount("one/x/y")), mount("one"));
  EXPECT_EQ(mountOf(mount("two/s/t")), mount("two/s")) << "the innermost";
  EXPECT_EQ(mountOf(mount("one") + "more/x"), "");
  EXPECT_EQ(mountOf(mount("one/../x")), "");
  EXPECT_EQ(mountOf("one"), "");
  EXPECT_EQ(taken(HANDLER(getMountPathForDirectory_)("meta", "s", nullptr)), mount("two"));
  EXPECT_EQ(taken(HANDLER(getMountPathForDirectory_)("meta", "absent", nullptr)), "");

  const int percent = HANDLER(freeMount_)("meta", mount("one").c_str(), true, nullptr);
  EXPECT_GE(percent, 0);
  EXPECT_LE(percent, 100);
  const auto mebibytes = static_cast<double>(fs::space(mount("one")).available >> 20U);
  EXPECT_NEAR(HANDLER(freeMount_)("meta", mount("one").c_str(), false, nullptr), mebibytes, mebibytes * 0.1);
  EXPECT_EQ(HANDLER(freeMount_)("meta", mount("one/x").c_str(), false, nullptr), -1);
  EXPECT_EQ(HANDLER(freeMount_)("meta", "/", false, nullptr), -1);
}

/// Paths whose library has the five entry points that constants are added for, and notes how they are called.
class RecordingLibrary : public testing::Test
{
protected:
  std::string calls() const { return contents(file); }
  const TempDir folder;
  const std::string file = folder.path() / "calls";
  const Environment environment{{{"REPOSITORYHANDLER_HOME", ANNOMEND_RECORDING_HOME}, {"RECORDED_CALLS", file}}};
};

template <class Operations>
void callWithConstants()
{
  int status = 0;
  int existed = 0;
  EXPECT_EQ(taken(Operations::createDirectory("r", "s", &status, &existed, false, false, nullptr)), "made");
  EXPECT_EQ(taken(Operations::getLocation("r", "s", &status, true, true, true, nullptr)), "found");
  EXPECT_EQ(Operations::removeResource("r", "s", nullptr), 17);
  Operations::checkOverload("r", false, nullptr);
  EXPECT_EQ(Operations::freeMount("r", "/m", nullptr), 18);
}

const char kCallsWithConstants[] = "createDirectory_ r s 0 0 1\n"
                                   "getLocation_ r s 1 1 1 0\n"
                                   "removeResource_ r s 1 1\n"
                                   "checkOverload_ r 1 0\n"
                                   "freeMount_ r /m 0\n";
const char kCreateDirectoryArguments[] = "createDirectory with repository=r subDir=s shouldLock=";

/// One that the recording library lacks gives its failure value and this line.
template <class Operations>
std::string lackingLine(const std::string& start)
{
  std::list<std::string> locations;
  EXPECT_EQ(Operations::getLocations("r", "s", locations, false, false, nullptr), -1);
  return "error IMRepositoryHandlerIface: " + start +
         ANNOMEND_RECORDING_HOME "/lib/RepositoryHandler.so: undefined symbol: getLocations_\n";
}

TEST_F(RecordingLibrary, ThePlainFormPassesTheConstantsAndNamesWhatIsLacking)
{
  const LogFile log;
  callWithConstants<PlainOperations>();
  EXPECT_EQ(calls(), kCallsWithConstants);
  const std::string lacking = lackingLine<PlainOperations>("dlsym error initTask: ");
  EXPECT_EQ(log.lines(),
            std::string("info IMRepositoryHandlerIface: called ") + kCreateDirectoryArguments + "false\n" + lacking);
  for (const std::optional<std::string>& home : {std::optional<std::string>(), std::optional<std::string>("/absent")})
  {
    const ScopedEnvironment changed("REPOSITORYHANDLER_HOME", home);
    const LogFile failed;
    int status = 0;
    EXPECT_EQ(createDirectory("r", "s", &status, nullptr, false, true, nullptr), nullptr);
    EXPECT_EQ(failed.lines(), std::string("info IMRepositoryHandlerIface: called ") + kCreateDirectoryArguments +
                                  "true\nerror IMRepositoryHandlerIface: dlopen error: " + home.value_or("/dev/null") +
                                  "/lib/RepositoryHandler.so: cannot open shared object file: " +
                                  (home ? "No such file or directory\n" : "Not a directory\n"));
  }
}

/// One test, since what the class form has resolved stays: a failing load, a library that lacks most entry points, and
/// the complete one.
TEST_F(RecordingLibrary, TheClassFormKeepsWhatItHasResolved)
{
  using Iface = IMRepositoryHandlerIface;
  const std::string processList = "/tmp/error_ps." + std::to_string(getpid()) + ".txt";
  const std::string start = "error IMRepositoryHandlerIface: EXCEPTION: dlopen error";
  const std::string reason =
      "/absent/lib/RepositoryHandler.so: cannot open shared object file: No such file or directory\n";
  {
    const ScopedEnvironment nowhere("REPOSITORYHANDLER_HOME", "/absent");
    const LogFile log;
    Iface::init();
    EXPECT_EQ(Iface::createDirectory("r", "s", nullptr, nullptr, false, true, nullptr), nullptr);
    EXPECT_EQ(log.lines(), start + " (/absent/lib/RepositoryHandler.so): " + reason + start + ": " + reason +
                               "info IMRepositoryHandlerIface: error: not called " + kCreateDirectoryArguments +
                               "true\n");
  }
  EXPECT_NE(contents(processList).find("PID"), std::string::npos);
  LogFile log;
  Iface::init();
  const std::string lines = log.lines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 15) << "a line for each that is lacking";
  const LogFile again;
  Iface::init();
  const std::string lacking = lackingLine<Iface>("EXCEPTION: dlsym error getLocations_: ");
  EXPECT_EQ(again.lines(), lacking) << "just once, and sought again when it is called";
  EXPECT_NE(lines.find(lacking), std::string::npos);
  fs::remove(processList);

  const ScopedEnvironment complete("REPOSITORYHANDLER_HOME", ANNOMEND_HANDLER_HOME);
  callWithConstants<Iface>();
  EXPECT_EQ(calls(), kCallsWithConstants) << "resolved before, still called";
  fs::create_directory(folder.path() / "s");
  for (int round = 0; round < 2; ++round)
    EXPECT_EQ(Iface::checkResourceStatus(folder.path().c_str(), "s", nullptr), kLocated);
}

} // namespace
