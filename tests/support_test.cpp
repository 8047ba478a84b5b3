#include "LogFile.h"
#include "TempDir.h"

#include "NullLogger.h"
#include "SelfRec.h"
#include "Status.h"
#include "StdLogger.h"
#include "SyslogLogger.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

using namespace tarn::utils;
using tarn::imutils::SelfRec;

namespace
{

struct StatusRow
{
  const char* name;
  int value;
  bool success;
};

TEST(Status, NamesAndVerdicts)
{
  const StatusRow rows[] = {{"OK", 0, true},      {"OK_NEW", 1, true},        {"OK_COPIED", 2, true},
                            {"OK_TEMP", 3, true}, {"MISSING", 4, false},      {"REPOSITORY_ERROR", 5, false},
                            {"ERROR", 6, false},  {"UNRECOGNIZED", 7, false}, {"UNRECOGNIZED", 9, false}};
  for (const StatusRow& row : rows)
  {
    const Status status(static_cast<StatusEnum>(row.value));
    EXPECT_EQ(static_cast<std::string>(status), row.name);
    EXPECT_EQ(static_cast<bool>(status), row.success) << row.name;
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

struct RecordRow
{
  const char* oddity;
  const char* text;
  unsigned int limit;
  bool database, objectTable, origin, replica;
};

class HostRecord : public testing::TestWithParam<RecordRow>
{
};

TEST_P(HostRecord, IsReadFromItsFile)
{
  const TempDir folder;
  setenv("CONF", folder.path().c_str(), 1);
  std::ofstream(folder.path() / "self.rec") << GetParam().text;
  SelfRec record;
  record.check();
  EXPECT_EQ(record.sqlTimeLimit, GetParam().limit);
  EXPECT_EQ(record.processModeDatabase, GetParam().database);
  EXPECT_EQ(record.hasObjectTable, GetParam().objectTable);
  EXPECT_EQ(record.origin, GetParam().origin);
  EXPECT_EQ(record.replica, GetParam().replica);
}

const RecordRow kRecords[] = {
    {"Empty", "", 0, false, true, false, false},
    {"AllSet", "SQLTimeLimit = 30\nProcessMode=\"dataBase\"\nNoObjectTable=YES\nOrigin=Yes\nReplica=yes\n", 30, true,
     false, true, true},
    {"LimitZero", "SQLTimeLimit=0\n", 0, false, true, false, false},
    {"LimitNoNumber", "SQLTimeLimit=soon\n", 0, false, true, false, false},
    {"LimitNegative", "SQLTimeLimit=-1\n", 0, false, true, false, false},
    {"LimitBeyond32Bits", "SQLTimeLimit=4294967296\n", 0, false, true, false, false},
    {"LimitLargest", "SQLTimeLimit=4294967295\n", 4294967295U, false, true, false, false},
    {"OtherMode", "ProcessMode=Store\nNoObjectTable=no\nOrigin=no\nReplica=1\n", 0, false, true, false, false},
    {"EmptyValues", "NoObjectTable=\nOrigin=\n", 0, false, true, false, false},
};

INSTANTIATE_TEST_SUITE_P(Rows, HostRecord, testing::ValuesIn(kRecords),
                         [](const auto& row) { return row.param.oddity; });

TEST(HostRecordOfTheProcess, FollowsItsFile)
{
  const TempDir folder;
  setenv("CONF", folder.path().c_str(), 1);
  EXPECT_TRUE(SelfRec::Instance()->hasObjectTable);
  std::ofstream(folder.path() / "self.rec") << "NoObjectTable=yes\nSQLTimeLimit=7\n";
  EXPECT_FALSE(SelfRec::Instance()->hasObjectTable);
  std::ofstream(folder.path() / "self.rec") << "Origin=yes\nSQLTimeLimit=none\n";
  SelfRec* const record = SelfRec::Instance();
  EXPECT_TRUE(record->origin);
  EXPECT_FALSE(record->hasObjectTable) << "what the file no longer says stays";
  EXPECT_EQ(record->sqlTimeLimit, 7U);
  std::filesystem::remove(folder.path() / "self.rec");
  EXPECT_TRUE(SelfRec::Instance()->hasObjectTable);
  EXPECT_EQ(record->sqlTimeLimit, 0U);
}

} // namespace
