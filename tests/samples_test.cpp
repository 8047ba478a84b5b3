#include "Archive.h"
#include "Files.h"
#include "TempDir.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace
{

/// What the archive's maker says when it cannot, or nothing.
std::string failure(const fs::path& folder)
{
  try
  {
    samples::writeArchive(folder);
    return "";
  }
  catch (const std::exception& problem)
  {
    return problem.what();
  }
}

TEST(SampleArchive, IsTheSameEachTime)
{
  const TempDir first, second;
  EXPECT_EQ("", failure(first.path()) + failure(second.path()));
  for (const char* name : {"objects.tsv", "states/annotations-all-kinds.dcm", "states/deflated-syntax.dcm"})
    EXPECT_TRUE(contents(first.path() / name) == contents(second.path() / name)) << name;
}

TEST(SampleArchive, NoticesAFullDiskAndAFolderInTheWay)
{
  const TempDir dir;
  fs::create_directories(dir.path() / "states/view-only.dcm");
  EXPECT_EQ("Cannot write " + (dir.path() / "states/view-only.dcm").string(), failure(dir.path()));
  fs::remove_all(dir.path() / "states");
  fs::remove(dir.path() / "objects.tsv");
  fs::create_symlink("/dev/full", dir.path() / "objects.tsv");
  EXPECT_EQ("Cannot write " + (dir.path() / "objects.tsv").string(), failure(dir.path()));
}

} // namespace
