#include "tests/support/Environment.h"
#include "tests/support/Files.h"
#include "tests/support/TempDir.h"

#include "support/SelfRec.h"
#include "support/Status.h"
#include "support/Loggers.h"

#include <gtest/gtest.h>

namespace
{

TEST(StdLogger, WritesALine)
{
  testing::internal::CaptureStdout();
  tarn::utils::StdLogger(stdout).logV("value %d of %s", 5, "x");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "value 5 of x\n");
}

TEST(Status, KnowsItsName)
{
  using namespace tarn::utils;
  EXPECT_EQ(std::string(Status(STATUS_ERROR)), "ERROR");
  EXPECT_EQ(std::string(Status(static_cast<StatusEnum>(7))), "UNRECOGNIZED");
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

TEST(HostRecord, IsNotLookedForInTheWorkingDirectory)
{
  const TempDir folder;
  put(folder / "self.rec", "Origin=yes\n");
  tarn::imutils::Config record(std::filesystem::relative(folder / "self.rec"));
  EXPECT_THROW(record.check(), tarn::imutils::IMException);
}

} // namespace
