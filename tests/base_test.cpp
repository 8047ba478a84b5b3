#include "tests/support/Capture.h"
#include "tests/support/Files.h"
#include "tests/support/TempDir.h"

#include "support/Config.h"
#include "base/report.h"
#include "base/IMException.h"
#include "base/IMProperties.h"
#include "base/IMSemaphore.h"
#include "base/PartFile.h"
#include "base/urlDecode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <iostream>
#include <tuple>

using namespace tarn::imutils;
using namespace std::string_literals;

namespace
{

TEST(Console, ScopesNestAndBelongToTheirThread)
{
  const Capture outer;
  {
    const Capture inner;
    tarn::base::report("n ", 7, " forged\nline\x1b\x7f");
    EXPECT_EQ(inner.error.str(), "n 7 forged\\x0Aline\\x1B\\x7F\n");
    EXPECT_EQ(std::async(std::launch::async, [] { return &tarn::consoleError(); }).get(), &std::cerr);
  }
  tarn::base::report("after");
  tarn::base::trace("flag ", true);
  EXPECT_EQ(outer.error.str() + outer.out.str(), "after\nflag true\n");
}

TEST(PartFile, StepsAroundWhatIsThere)
{
  const TempDir dir;
  const std::string taken = tarn::base::partPathFor(dir / "f", false);
  put(taken, "another's ");
  for (const bool keep : {true, false})
  {
    tarn::base::PartFile file(dir / "f");
    EXPECT_TRUE(file.good() && file.write(keep ? "kept" : "dropped", 4) && (!keep || file.keep()));
  }
  EXPECT_EQ(namesIn(dir.path()).size(), 2U);
  EXPECT_EQ(contents(taken) + contents(dir / "f"), "another's kept");
}

TEST(UrlDecode, BothForms)
{
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {"a%20b+%2541", "a b %41", "a b %41"}, // a decoded percent sign is not decoded again
      {"%c3%Ff", "\xc3\xff", "\xc3\xff"},
      {"ab%4", "ab", "ab"},
      {"%zz+%4", "%zz ", "\0 "s},
      {"%4xy%%41", "%4xy%A", "\4y\0"s + "1"},
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
  for (const char* key : {"plain", "spaced key", "quoted", "half", "twice", "empty", "equals", "last", "Plain",
                          "# plain", "! plain", "plain 4"})
    read += properties.getProperty(key).value_or("-") + "|";
  EXPECT_EQ(read, "1|a b| x |\"y|2||a=b|z|-|-|-|-|");
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

struct CountedLock : IMSemaphore
{
  bool tryLock() override { return ++attempts == freeAt; }

  int freeAt, attempts = 0;
};

/// The number of attempts: of the one that found the lock free, below 0 when the time ran out before.
int attempts(int freeAt, int timeout, float firstWait, float factor, float longestWait)
{
  CountedLock lock;
  lock.freeAt = freeAt;
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout);
  try
  {
    lock.lock_ms(timeout, firstWait, factor, longestWait, 0.4F);
    return lock.attempts;
  }
  catch (const IMTimeoutException& exception)
  {
    EXPECT_EQ(exception.what(), "lock not obtained within " + std::to_string(timeout) + " ms");
    const auto now = std::chrono::steady_clock::now();
    EXPECT_TRUE(now >= end && now < end + std::chrono::seconds(20));
    return -lock.attempts;
  }
}

TEST(IMSemaphore, PollsUntilFreeOrOutOfTime)
{
  using namespace testing;
  EXPECT_EQ(attempts(9, 0, 10, 1.5F, 1000), -1) << "no time";
  EXPECT_EQ(attempts(3, 5000, 1, 2, 1000), 3);
  EXPECT_THAT(attempts(999, 100, 1, 3, 1000), AllOf(Ge(-8), Le(-4))) << "waits grow";
  EXPECT_THAT(attempts(999, 100, 1000, 1, 5), AllOf(Ge(-40), Le(-3))) << "the longest wait bounds all";
  EXPECT_EQ(attempts(999, 50, 60000, 1, 60000), -2) << "a wait beyond the time-out ends with it";
}

} // namespace
