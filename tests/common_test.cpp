#include "Files.h"
#include "TempDir.h"

#include "Config.h"
#include "Console.h"
#include "IMException.h"
#include "IMProperties.h"
#include "IMSemaphore.h"
#include "PartFile.h"
#include "urlDecode.h"

#include <gtest/gtest.h>

#include <chrono>
#include <sstream>
#include <thread>
#include <tuple>

using namespace tarn::imutils;
using namespace std::string_literals;

namespace
{

TEST(Console, ScopesNestAndBelongToTheirThread)
{
  std::ostringstream out, outerError, innerError, otherError;
  tarn::ConsoleScope outer(out, outerError);
  {
    tarn::ConsoleScope inner(out, innerError);
    tarn::report("n ", 7);
    std::thread(
        [&]
        {
          tarn::ConsoleScope other(out, otherError);
          tarn::report("other");
        })
        .join();
    tarn::report("forged\nline\x1b\x7f");
  }
  tarn::report("after");
  tarn::trace("flag ", true);
  EXPECT_EQ(innerError.str(), "n 7\nforged\\x0Aline\\x1B\\x7F\n");
  EXPECT_EQ(otherError.str(), "other\n");
  EXPECT_EQ(outerError.str(), "after\n");
  EXPECT_EQ(out.str(), "flag true\n");
}

TEST(PartFile, StepsAroundWhatIsThere)
{
  const TempDir dir;
  const std::string taken = tarn::partPathFor(dir / "f", false);
  put(taken, "another's ");
  for (const bool keep : {true, false})
  {
    tarn::PartFile file(dir / "f");
    EXPECT_TRUE(file.good() && file.write(keep ? "kept" : "dropped", 4) && (!keep || file.keep()));
  }
  EXPECT_EQ(namesIn(dir.path()).size(), 2U);
  EXPECT_EQ(contents(taken) + contents(dir / "f"), "another's kept");
}

TEST(UrlDecode, BothForms)
{
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {"a%20b+c", "a b c", "a b c"},
      {"%2541", "%41", "%41"}, // a decoded percent sign is not decoded again
      {"%c3%C9", "\xc3\xc9", "\xc3\xc9"},
      {"ab%4", "ab", "ab"},
      {"ab%", "ab", "ab"},
      {"%zz+%4", "%zz ", "\0 "s},
      {"%4xy", "%4xy", "\4y"},
      {"%%41", "%A", "\0"s + "1"},
      {"%-1x", "%-1x", "\0x"s}, // a sign is no digit
      {"a%00b", "a", "a\0b"s},
  };
  for (const auto& [text, plugin, meta] : rows)
  {
    std::string decoded = text;
    im::URLDecode(decoded);
    EXPECT_EQ(decoded, plugin) << text;
    EXPECT_EQ(im::urlDecode(text), meta) << text;
  }
}

TEST(IMProperties, Lines)
{
  IMProperties properties;
  std::istringstream text("plain=1\n  spaced key \t=  a b \r\n# plain=2\n! plain=3\nplain 4\nquoted=\" x \"\nhalf=\"y\n"
                          "twice=1\ntwice=2\nempty=\nequals=a=b\nlast=z");
  properties.read(text);
  std::string read;
  for (const char* key :
       {"plain", "spaced key", "quoted", "half", "twice", "empty", "equals", "last", "Plain", "# plain", "plain 4"})
    read += properties.getProperty(key).value_or("(absent)") + "|";
  EXPECT_EQ(read, "1|a b| x |\"y|2||a=b|z|(absent)|(absent)|(absent)|");
  std::istringstream other("b=2");
  properties.read(other);
  EXPECT_FALSE(properties.getProperty("plain")) << "a second read replaces";
}

TEST(Config, FollowsItsFile)
{
  const TempDir dir;
  const std::filesystem::path file = dir.path() / "self.rec", other = dir.path() / "other";
  Config config(file);
  const auto now = [&]
  {
    config.check();
    return config.getProperty("k").value_or("(absent)");
  };
  EXPECT_EQ(now(), "(absent)") << "no file";
  put(file, "k=22\n");
  EXPECT_EQ(now(), "22");
  put(other, "k=33\n");
  std::filesystem::last_write_time(other, std::filesystem::last_write_time(file));
  std::filesystem::rename(other, file);
  EXPECT_EQ(now(), "33") << "another file of the same time and size";
  std::filesystem::remove(file);
  EXPECT_EQ(now(), "(absent)") << "removed";
  std::filesystem::create_directory(file);
  EXPECT_THROW(config.check(), IMException) << "what cannot be read is not an empty file";
}

/// Free at one attempt.
struct CountedLock : IMSemaphore
{
  explicit CountedLock(int freeAttempt) : freeAt(freeAttempt) {}
  bool tryLock() override { return ++attempts == freeAt; }

  int freeAt, attempts = 0;
};

TEST(IMSemaphore, PollsUntilFreeOrOutOfTime)
{
  const struct
  {
    const char* odd;
    int freeAt, timeout;
    float first, factor, longest;
    int least, most; // attempts
  } rows[] = {
      {"no time: one attempt", 9, 0, 10, 1.5F, 1000, 1, 1},
      {"free at the third", 3, 5000, 1, 2, 1000, 3, 3},
      {"waits grow: few attempts", 999, 100, 1, 3, 1000, 4, 8},
      {"the longest wait bounds all, the first too", 999, 100, 1000, 1, 5, 3, 40},
      {"a wait beyond the time-out ends with it", 999, 50, 60000, 1, 60000, 2, 2},
  };
  for (const auto& row : rows)
  {
    CountedLock lock(row.freeAt);
    const auto start = std::chrono::steady_clock::now();
    std::string message = "taken";
    try
    {
      lock.lock_ms(row.timeout, row.first, row.factor, row.longest, 0.4F);
    }
    catch (const IMTimeoutException& exception)
    {
      message = exception.what();
      EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(row.timeout)) << row.odd;
    }
    EXPECT_EQ(message, row.freeAt < 9 ? "taken" : "lock not obtained within " + std::to_string(row.timeout) + " ms");
    EXPECT_TRUE(lock.attempts >= row.least && lock.attempts <= row.most) << row.odd << ": " << lock.attempts;
  }
}

} // namespace
