#include <gtest/gtest.h>

#include <unistd.h>

#include <fstream>
#include <sstream>

#include "Archive.h"
#include "Phantom.h"
#include "PluginState.h"
#include "StateWriter.h"

namespace fs = std::filesystem;
using namespace samples;

namespace
{

class SampleArchive : public testing::Test
{
protected:
  void SetUp() override { fs::remove_all(folder); }
  void TearDown() override { fs::remove_all(folder); }

  /// What the archive's maker says when it cannot, or nothing.
  std::string failure() const
  {
    try
    {
      writeArchive(folder);
      return "";
    }
    catch (const std::exception& problem)
    {
      return problem.what();
    }
  }

  const fs::path folder = fs::path(testing::TempDir()) / ("samples_test_" + std::to_string(getpid()));
};

std::string contents(const fs::path& path)
{
  std::ostringstream bytes;
  bytes << std::ifstream(path, std::ios::binary).rdbuf();
  return bytes.str();
}

TEST(PluginStateText, EncodesFiguresOnceMore)
{
  EXPECT_EQ("label\\ID+1.2/CT.3_1%0Atext_x+1%7C0+a%2520b%2Bc\\ID+%5C%B0",
            pluginStateText("label", {{"ID 1.2/CT.3_1", "text_x 1|0 a%20b+c"}, {"ID \\\xB0"}}));
}

TEST_F(SampleArchive, IsTheSameEachTime)
{
  ASSERT_EQ("", failure());
  const std::string name = "annotations-all-kinds.dcm";
  const std::string first = contents(folder / "states" / name);
  ASSERT_EQ("", failure());
  EXPECT_EQ(first, contents(folder / "states" / name));
  EXPECT_EQ("DICM", first.substr(128, 4));
}

TEST_F(SampleArchive, KeepsTheRepresentationOfThePluginState)
{
  ASSERT_EQ("", failure());
  for (const SampleState& state : sampleStates())
  {
    SCOPED_TRACE(state.name);
    DcmFileFormat file;
    ASSERT_TRUE(file.loadFile((folder / "states" / (std::string(state.name) + ".dcm")).c_str()).good());
    const bool legacy = state.layout == Layout::legacy || state.layout == Layout::legacyWithoutCreator;
    const Uint16 number = legacy ? 0xBA94 : state.layout == Layout::canonicInSlot11 ? 0x1194 : 0x1094;
    DcmElement* element = nullptr;
    ASSERT_TRUE(file.getDataset()->findAndGetElement(DcmTagKey(0xF215, number), element).good());
    const bool implicit = state.syntax == EXS_LittleEndianImplicit;
    EXPECT_EQ(implicit ? std::string("??") : DcmVR(state.vr).getVRName(), DcmVR(element->getVR()).getVRName());
    EXPECT_EQ(state.syntax, file.getDataset()->getOriginalXfer());
  }
}

TEST_F(SampleArchive, NoticesAFullDisk)
{
  fs::create_directories(folder);
  fs::create_symlink("/dev/full", folder / "objects.tsv");
  EXPECT_EQ("Cannot write " + (folder / "objects.tsv").string(), failure());
}

TEST_F(SampleArchive, NoticesAFolderInTheWay)
{
  const fs::path state = folder / "states" / "view-only.dcm";
  fs::create_directories(state);
  EXPECT_EQ("Cannot write " + state.string(), failure());
}

TEST_F(SampleArchive, NoticesAFileInTheWay)
{
  std::ofstream{folder} << "not a folder";
  EXPECT_NE("", failure());
}

} // namespace
