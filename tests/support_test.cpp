#include "tests/support/Environment.h"
#include "tests/support/Files.h"
#include "tests/support/TempDir.h"

#include "support/SelfRec.h"
#include "support/Status.h"
#include "support/Loggers.h"

#include <gtest/gtest.h>

namespace
{

TEST(StdLogger, WritesLinesToAStreamThatStaysOpen)
{
  const TempDir folder;
  std::FILE* stream = std::fopen((folder / "log").c_str(), "w");
  tarn::utils::StdLogger logger(stream);
  logger.logV("value %d of %s", 5, "x");
  logger.log0("fixed");
  EXPECT_EQ(std::fputs("still open", stream), 1);
  std::fclose(stream);
  EXPECT_EQ(contents(folder / "log"), "value 5 of x\nfixed\nstill open");
}

TEST(Status, KnowsItsNameAndWhetherItIsASuccess)
{
  using tarn::utils::Status;
  const char* const names[] = {"OK",      "OK_NEW",           "OK_COPIED", "OK_TEMP",
                               "MISSING", "REPOSITORY_ERROR", "ERROR",     "UNRECOGNIZED"};
  for (int value = 0; value < 8; ++value)
  {
    const Status status(static_cast<tarn::utils::StatusEnum>(value));
    const std::string text = status;
    EXPECT_EQ(text, names[value]);
    EXPECT_EQ(static_cast<bool>(status), value < 4) << text;
  }
}

TEST(HostRecord, FollowsItsFile)
{
  const std::pair<const char*, const char*> rows[] = {
      {"SQLTimeLimit = 30\nProcessMode=\"dataBase\"\nNoObjectTable=YES\n", "30 database"},
      {"Origin=Yes\nReplica=yes\nSQLTimeLimit=soon\n", "30 database origin replica"}, // what it no longer says stays
      {"SQLTimeLimit=4294967296\nProcessMode=Store\nNoObjectTable=no\nOrigin=no\nReplica=1\n", "30 objects"},
      {"SQLTimeLimit=4294967295\nNoObjectTable=\nOrigin=\nReplica=yes\n", "4294967295 objects replica"},
      {nullptr, "0 objects"}, // the file is gone
  };
  const TempDir folder;
  const ScopedEnvironment conf("CONF", folder.path());
  for (const auto& [text, expected] : rows)
  {
    if (text)
      put(folder / "self.rec", text);
    else
      std::filesystem::remove(folder / "self.rec");
    const auto& record = *tarn::imutils::SelfRec::Instance();
    EXPECT_EQ(std::to_string(record.sqlTimeLimit) + (record.processModeDatabase ? " database" : "") +
                  (record.hasObjectTable ? " objects" : "") + (record.origin ? " origin" : "") +
                  (record.replica ? " replica" : ""),
              expected);
  }
}

} // namespace
