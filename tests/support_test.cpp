#include "Environment.h"
#include "Files.h"
#include "LogFile.h"
#include "TempDir.h"

#include "NullLogger.h"
#include "SelfRec.h"
#include "Status.h"
#include "StdLogger.h"
#include "SyslogLogger.h"

#include <gtest/gtest.h>

#include <cstdio>

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

TEST(Loggers, EachTakesTheTextToItsPlace)
{
  const TempDir folder;
  std::FILE* stream = std::fopen((folder / "log").c_str(), "w");
  StdLogger logger(stream);
  logger.logV("value %d of %s", 5, "x");
  logger.log0("fixed");
  EXPECT_EQ(std::fputs("still open", stream), 1);
  std::fclose(stream);
  EXPECT_EQ(contents(folder / "log"), "value 5 of x\nfixed\nstill open");

  LogFile log;
  SyslogLogger error(tarn::imutils::LOG_MODE_ERROR);
  error.logV("code %d", -4);
  error.log0("fixed");
  NullLogger().log0("never");
  EXPECT_EQ(log.lines(), "error MetaMgr: code -4\ndebug MetaMgr: fixed\n");
}

TEST(HostRecord, FollowsItsFile)
{
  const std::pair<const char*, const char*> rows[] = {
      {"SQLTimeLimit = 30\nProcessMode=\"dataBase\"\nNoObjectTable=YES\n", "30 database"},
      {"Origin=Yes\nReplica=yes\nSQLTimeLimit=soon\n", "30 database origin replica"}, // what it no longer says stays
      {"SQLTimeLimit=4294967296\nProcessMode=Store\nNoObjectTable=no\nOrigin=no\nReplica=1\n", "30 objects"},
      {"SQLTimeLimit=4294967295\nNoObjectTable=\nOrigin=\n", "4294967295 objects"},
  };
  const TempDir folder;
  const ScopedEnvironment conf("CONF", folder.path());
  const auto shown = []
  {
    const auto record = SelfRec::Instance();
    return std::to_string(record->sqlTimeLimit) + (record->processModeDatabase ? " database" : "") +
           (record->hasObjectTable ? " objects" : "") + (record->origin ? " origin" : "") +
           (record->replica ? " replica" : "");
  };
  EXPECT_EQ(shown(), "0 objects");
  for (const auto& [text, expected] : rows)
  {
    put(folder / "self.rec", text);
    EXPECT_EQ(shown(), expected) << text;
  }
  std::filesystem::remove(folder / "self.rec");
  EXPECT_EQ(shown(), "0 objects");
}

} // namespace
