#include "Environment.h"
#include "LogFile.h"
#include "TempDir.h"

#include "NullLogger.h"
#include "SelfRec.h"
#include "Status.h"
#include "StdLogger.h"
#include "SyslogLogger.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>

using namespace tarn::utils;
using tarn::imutils::SelfRec;

namespace
{

TEST(Status, NamesAndVerdicts)
{
  const char* const names[] = {"OK",    "OK_NEW",       "OK_COPIED",   "OK_TEMP", "MISSING", "REPOSITORY_ERROR",
                               "ERROR", "UNRECOGNIZED", "UNRECOGNIZED"};
  for (int value = 0; value < 9; ++value)
  {
    const Status status(static_cast<StatusEnum>(value));
    EXPECT_EQ(static_cast<std::string>(status), names[value]);
    EXPECT_EQ(static_cast<bool>(status), value < 4) << names[value];
  }
}

TEST(Loggers, TheStreamGetsTheTextAndOneNewline)
{
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* stream = open_memstream(&text, &size);
  StdLogger logger(stream);
  logger.logV("value %d of %s", 5, "x");
  logger.log0("fixed");
  EXPECT_EQ(std::fputs("still open", stream), 1);
  std::fclose(stream);
  const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
  EXPECT_STREQ(text, "value 5 of x\nfixed\nstill open");
}

TEST(Loggers, ThePlatformLogGetsTheModeForFormattedTextAndDebugForFixedText)
{
  LogFile log;
  SyslogLogger error(tarn::imutils::LOG_MODE_ERROR);
  error.logV("code %d", -4);
  error.log0("fixed");
  NullLogger none;
  none.logV("never %d", 1);
  none.log0("never");
  EXPECT_EQ(log.lines(), "error MetaMgr: code -4\ndebug MetaMgr: fixed\n");
}

std::string shown(const SelfRec& record)
{
  return std::to_string(record.sqlTimeLimit) + (record.processModeDatabase ? " database" : "") +
         (record.hasObjectTable ? " objects" : "") + (record.origin ? " origin" : "") +
         (record.replica ? " replica" : "");
}

TEST(HostRecord, IsReadFromItsFile)
{
  const std::pair<const char*, const char*> rows[] = {
      {"", "0 objects"},
      {"SQLTimeLimit = 30\nProcessMode=\"dataBase\"\nNoObjectTable=YES\n", "30 database"},
      {"Origin=Yes\n", "0 objects origin"},
      {"Replica=yes\n", "0 objects replica"},
      {"SQLTimeLimit=soon\n", "0 objects"},
      {"SQLTimeLimit=-1\n", "0 objects"},
      {"SQLTimeLimit=4294967296\n", "0 objects"},
      {"SQLTimeLimit=4294967295\n", "4294967295 objects"},
      {"ProcessMode=Store\nNoObjectTable=no\nOrigin=no\nReplica=1\n", "0 objects"},
      {"NoObjectTable=\nOrigin=\n", "0 objects"},
  };
  for (const auto& [text, expected] : rows)
  {
    const TempDir folder;
    const ScopedEnvironment conf("CONF", folder.path());
    std::ofstream(folder / "self.rec") << text;
    SelfRec record;
    record.check();
    EXPECT_EQ(shown(record), expected) << text;
  }
}

TEST(HostRecord, OfTheProcessFollowsItsFile)
{
  const TempDir folder;
  const ScopedEnvironment conf("CONF", folder.path());
  EXPECT_EQ(shown(*SelfRec::Instance()), "0 objects");
  std::ofstream(folder / "self.rec") << "NoObjectTable=yes\nSQLTimeLimit=7\n";
  EXPECT_EQ(shown(*SelfRec::Instance()), "7");
  std::ofstream(folder / "self.rec") << "Origin=yes\nSQLTimeLimit=none\n";
  EXPECT_EQ(shown(*SelfRec::Instance()), "7 origin") << "what the file no longer says stays";
  std::filesystem::remove(folder / "self.rec");
  EXPECT_EQ(shown(*SelfRec::Instance()), "0 objects");
}

} // namespace
