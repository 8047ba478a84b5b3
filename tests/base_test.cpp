#include "tests/support/Capture.h"
#include "tests/support/Files.h"
#include "tests/support/TempDir.h"

#include "support/Config.h"
#include "base/report.h"
#include "base/AccessList.h"
#include "base/IMException.h"
#include "base/IMProperties.h"
#include "base/IMSemaphore.h"
#include "base/PartFile.h"
#include "base/PrintableStream.h"
#include "base/text.h"
#include "base/urlDecode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <iostream>
#include <optional>
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
    tarn::base::report("forged\nline", 7);
    EXPECT_EQ(inner.error.str(), "forged\\x0Aline7\n");
    EXPECT_EQ(std::async(std::launch::async, [] { return &tarn::consoleError(); }).get(), &std::cerr) << "of a thread";
  }
  tarn::base::report("after");
  tarn::base::trace("flag ", true);
  EXPECT_EQ(outer.error.str(), "after\n");
  EXPECT_EQ(outer.out.str(), "flag true\n");
}

const std::tuple<const char*, std::string, std::string> kShown[] = {
    {"a control character", "a\033[31m\x7f", "a\\x1B[31m\\x7F"},
    {"letters", "\xc3\x9b \xe2\x82\xac \xf0\x9f\x98\x80 \xe9t\xe9", "\xc3\x9b \xe2\x82\xac \xf0\x9f\x98\x80 \xe9t\xe9"},
    {"a C1 control",
     "a\xc2\x9b"
     "31m",
     "a\\xC2\\x9B31m"},
    {"one of a single byte",
     "a\x9b"
     "31m\xe2\x82",
     "a\\x9B31m\xe2\\x82"},
    {"no break space", "a\xc2\xa0z", "a\xc2\xa0z"},
    {"an override", "a\xe2\x80\xaez", "a\\xE2\\x80\\xAEz"},
    {"isolates", "\xe2\x81\xa6\xe2\x81\xa9", "\\xE2\\x81\\xA6\\xE2\\x81\\xA9"},
    {"marks", "\xe2\x80\x8e\xe2\x80\x8f\xd8\x9c", "\\xE2\\x80\\x8E\\xE2\\x80\\x8F\\xD8\\x9C"},
    {"their neighbours", "\xe2\x80\x8d\xe2\x80\xaf\xe2\x81\xaa\xd8\x9b",
     "\xe2\x80\x8d\xe2\x80\xaf\xe2\x81\xaa\xd8\x9b"},
};

TEST(Printable, ShowsWhatActsOnATerminal)
{
  for (const auto& [fact, text, shown] : kShown)
  {
    EXPECT_EQ(tarn::base::printable(text), shown) << fact;
    std::ostringstream target;
    {
      tarn::base::PrintableStream stream(target);
      for (const char c : text)
        stream << c << std::string();
      stream << "\n\tnext" << std::flush << '\r';
      EXPECT_EQ(target.str(), shown + "\n\tnext") << fact;
    }
    EXPECT_EQ(target.str(), shown + "\n\tnext\\x0D") << fact;
  }
}

TEST(Printable, TellsThatTheTargetFails)
{
  std::ostringstream target;
  tarn::base::PrintableStream stream(target);
  target.setstate(std::ios::badbit);
  EXPECT_FALSE(stream << "text" << std::flush);
}

TEST(PartFile, StepsAroundThatOfAnotherAndGoesUnlessKept)
{
  const TempDir dir;
  const std::string target = dir / "f", others = tarn::base::partPathFor(target, false);
  put(others, "another's");
  {
    const tarn::base::PartFile dropped(target);
    EXPECT_TRUE(dropped.good() && dropped.write("dropped", 7));
  }
  EXPECT_EQ(namesIn(dir.path()).size(), 1U) << "only that of another is left";
  tarn::base::PartFile kept(target);
  EXPECT_EQ(std::filesystem::status(kept.path()).permissions(), std::filesystem::perms(0600));
  EXPECT_TRUE(kept.write("kept", 4) && kept.keep());
  EXPECT_EQ(contents(target), "kept");
  EXPECT_EQ(contents(others), "another's");
  EXPECT_EQ(namesIn(dir.path()).size(), 2U);
}

/// An entry of an access control list as the system keeps it, and lists of such.
std::string entry(char tag, char bits)
{
  return {tag, 0, bits, 0, 0, 0, 0, 0};
}
const std::string kVersion("\2\0\0\0", 4), kOwner = entry(1, 6), kMask = entry(16, 6), kOther = entry(32, 4);

const std::tuple<const char*, std::string, unsigned, unsigned> kListRows[] = {
    {"no list", "", 0664, 0664},
    {"the group has no more than its own entry", kVersion + kOwner + entry(4, 0) + kMask + kOther, 0664, 0604},
    {"the mask holds for that", kVersion + kOwner + entry(4, 7) + entry(16, 4) + kOther, 0644, 0644},
    {"who is named may be in the group", kVersion + kOwner + entry(2, 4) + entry(4, 6) + kMask + kOther, 0664, 0644},
    {"and is no longer kept out", kVersion + kOwner + entry(2, 0) + entry(4, 6) + kMask + kOther, 0664, 0600},
    {"so are groups", kVersion + kOwner + entry(4, 4) + entry(8, 0) + kMask + kOther, 0664, 0600},
};

TEST(AccessList, WithoutItNobodyHasMore)
{
  for (const auto& [fact, list, before, after] : kListRows)
    EXPECT_EQ(tarn::base::withoutList(before, list), after) << fact;
}

// Encoded; decoded as a plug-in state, as an object meta file.
const std::tuple<const char*, std::string, std::string, std::string> kUrlRows[] = {
    {"an escape", "a%20b", "a b", "a b"},
    {"a plus", "b+c", "b c", "b c"},
    {"a percent sign that is decoded is not decoded again", "%2541", "%41", "%41"},
    {"digits of both cases", "%c3%Ff", "\xc3\xff", "\xc3\xff"},
    {"cut after one digit", "ab%4", "ab", "ab"},
    {"no digits", "%zz+", "%zz ", "\0 "s},
    {"one digit", "%4xy", "%4xy", "\4y"},
    {"a second percent sign", "%%41", "%A", "\0"s + "1"},
    {"a sign", "%-1x", "%-1x", "\0x"s},
    {"a NUL", "a%00b", "a", "a\0b"s},
};

TEST(UrlDecode, Gives)
{
  for (const auto& [fact, text, plugin, meta] : kUrlRows)
  {
    std::string decoded = text;
    im::URLDecode(decoded);
    EXPECT_EQ(decoded, plugin) << fact;
    EXPECT_EQ(im::urlDecode(text), meta) << fact;
  }
}

TEST(IMProperties, AreLinesOfKeysAndValues)
{
  IMProperties properties;
  std::istringstream text("  blanks \t=  a b \r\n# comment=2\n! comment=3\nno equals\nquoted=\" x \"\none quote=\"y\n"
                          "twice=1\ntwice=2\nno value=\nequals=a=b\nno line end=z");
  properties.read(text);
  const std::pair<const char*, std::optional<std::string>> rows[] = {
      {"blanks", "a b"}, {"quoted", " x "}, {"one quote", "\"y"}, {"twice", "2"},
      {"no value", ""},  {"equals", "a=b"}, {"no line end", "z"}, {"Twice", {}},
      {"# comment", {}}, {"! comment", {}}, {"no equals", {}}};
  for (const auto& [key, value] : rows)
    EXPECT_EQ(properties.getProperty(key), value) << key;
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
  put(file, "k=22\nold=1\n");
  EXPECT_EQ(now(), "22");
  put(other, "k=33\nnew=1\n");
  std::filesystem::last_write_time(other, std::filesystem::last_write_time(file));
  std::filesystem::rename(other, file);
  EXPECT_EQ(now(), "33") << "another file of the same time and size";
  EXPECT_FALSE(config.getProperty("old")) << "what it no longer says";
  std::filesystem::remove(file);
  EXPECT_EQ(now(), "(absent)") << "removed";
  std::filesystem::create_directory(file);
  EXPECT_THROW(config.check(), IMException) << "what cannot be read is not an empty file";
}

/// Free at the `freeAt`-th attempt.
struct CountedLock : IMSemaphore
{
  explicit CountedLock(int freeAt) : freeAt(freeAt) {}
  bool tryLock() override { return ++attempts == freeAt; }

  const int freeAt;
  int attempts = 0;
};

/// Polls; times are in milliseconds. Returns the number of attempts, below 0 when the time ran out.
int attempts(int freeAt, int timeout, float firstWait, float factor, float longestWait)
{
  CountedLock lock(freeAt);
  try
  {
    lock.lock_ms(timeout, firstWait, factor, longestWait, 0.4F);
    return lock.attempts;
  }
  catch (const IMTimeoutException& exception)
  {
    EXPECT_EQ(exception.what(), "lock not obtained within " + std::to_string(timeout) + " ms");
    return -lock.attempts;
  }
}

constexpr int kNever = 999;

TEST(IMSemaphore, PollsUntilFreeOrOutOfTime)
{
  using namespace testing;
  EXPECT_EQ(attempts(kNever, 0, 10, 1.5F, 1000), -1) << "without time it tries once";
  EXPECT_EQ(attempts(3, 5000, 1, 2, 1000), 3) << "the lock is free at the third attempt";
  EXPECT_THAT(attempts(kNever, 100, 1, 3, 1000), AllOf(Ge(-8), Le(-4))) << "the factor lengthens the waits";
  EXPECT_THAT(attempts(kNever, 100, 1000, 1, 5), AllOf(Ge(-40), Le(-3))) << "the longest wait bounds the first";
  EXPECT_EQ(attempts(kNever, 50, 60000, 1, 60000), -2) << "a wait beyond the time-out ends with it";
}

} // namespace
