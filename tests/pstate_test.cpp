#include "tests/support/StateFixture.h"

#include "db/DBException.h"
#include "dicom/saveFile.h"
#include "samples/dicomFile.h"
#include "images/ObjectInfo.h"
#include "images/ImageSources.h"
#include "pstate/ValidPresentationState.h"

#include <gmock/gmock.h>

#include <tuple>

using namespace impsconverter;

namespace
{

class PStateTest : public StateFixture
{
protected:
  PStateTest() { input.updateOriginalXfer(); }

  std::unique_ptr<ValidPresentationState> opened()
  {
    return std::make_unique<ValidPresentationState>(&input, "1.2.3", 5, false);
  }
  /// What the saved file says of the tags.
  std::string saved(ValidPresentationState& state, const std::vector<DcmTagKey>& tags) const
  {
    EXPECT_TRUE(state.save(tarn::dicom::SaveTarget(prefix + state.outputName())));
    return describeOutput(tags, "PR.1.2.3");
  }

  const std::unique_ptr<DcmFileFormat> file = state("");
  DcmDataset& input = *file->getDataset();
};

TEST_F(PStateTest, ATextInPlaceOfASequence)
{
  const std::pair<DcmTagKey, std::string> rows[] = {
      {DCM_DisplayedAreaSelectionSequence, "No new item could be created in Displayed Area Selection Sequence"},
      {DCM_SoftcopyVOILUTSequence, "Softcopy VOI LUT Sequence item could not created"},
      {DCM_GraphicLayerSequence, "Graphic Layer Sequence item could not be created"},
      {DCM_GraphicAnnotationSequence, "Graphic Annotation Sequence item could not be created"},
      {DCM_SourceImageSequence, ""}, // removed
  };
  for (const auto& [tag, message] : rows)
  {
    const auto damaged = state(figureOf({"light 1 2 0 0", "text_x 1 red 1 1 0 0 0 0 0|0 a"}));
    putElement(*damaged->getDataset(), tag, EVR_LT, "text");
    EXPECT_EQ(message.empty() ? "" : message + ": Invalid VR\n" + kFigureFailed, convert(*damaged).error);
  }
}

TEST_F(PStateTest, OrientationArrangesTheCornersOfTheClip)
{
  const std::tuple<int, bool, const char*, const char*> rows[] = {
      {0, false, "10\\20", "109\\69"},   {0, true, "109\\20", "10\\69"},    {90, false, "10\\69", "109\\20"},
      {90, true, "10\\20", "109\\69"},   {180, false, "109\\69", "10\\20"}, {180, true, "10\\69", "109\\20"},
      {270, false, "109\\20", "10\\69"}, {270, true, "109\\69", "10\\20"}};
  for (const auto& [rotation, flip, topLeft, bottomRight] : rows)
  {
    const auto state = opened();
    EXPECT_TRUE(state->setImageReferences(ObjectInfo("1.2", "CT.1.2.3"), "1"));
    EXPECT_TRUE(state->setOrientation(rotation, flip) && state->setClip(10, 20, 100, 50));
    EXPECT_EQ(saved(*state, {DCM_DisplayedAreaSelectionSequence}),
              "DisplayedAreaSelectionSequence{DisplayedAreaTopLeftHandCorner:SL=" + std::string(topLeft) +
                  " DisplayedAreaBottomRightHandCorner:SL=" + bottomRight + "}")
        << rotation << flip;
  }
  const Capture said;
  EXPECT_FALSE(opened()->setClip(1, 1, 1, 1));
  EXPECT_EQ(said.error.str(), "Displayed Area Selection Item was expected but does not exist\n");
}

TEST_F(PStateTest, CleaningMakesAnInstanceNumber)
{
  const std::tuple<const char*, DcmEVR, const char*, const char*> rows[] = {
      {"empty", EVR_IS, "", "33305"},
      {"largest", EVR_IS, "2147483647", "-3695"},
      {"beyond 32 bits", EVR_IS, "9999999999", "-1143258735"},
      {"no number's VR", EVR_LO, "2", "33305"}};
  for (const auto& [odd, vr, value, expected] : rows)
  {
    putElement(input, DCM_InstanceNumber, vr, value);
    EXPECT_EQ(saved(*opened(), {DCM_InstanceNumber}), "InstanceNumber:IS=" + std::string(expected)) << odd;
  }
  input.findAndDeleteElement(DCM_InstanceNumber);
  EXPECT_EQ(saved(*opened(), {DCM_InstanceNumber}), "InstanceNumber:IS=33305") << "missing";
}

TEST_F(PStateTest, CleaningRemovesThePluginStateAndTheSource)
{
  const DcmTagKey other(0xF215, 0x1095);
  samples::appendItem(input, DCM_SourceImageSequence);
  putElement(input, other, EVR_LO, "stays");
  EXPECT_EQ(saved(*opened(), {DCM_SourceImageSequence, kPluginState, other}), "Unknown Tag & Data:LO=stays");
  EXPECT_TRUE(input.tagExists(kPluginState)) << "the input is its own";
}

struct Collected
{
  const char* fact;
  std::string name;
  int result;
  std::string found; ///< class, instance, series, size
  std::string message = {};
};

const std::string kSeek = " was not found in the database - checking referenced series sequence\n";
const Collected kCollected[] = {
    {"in the table", "CT.1.1", 3, "c 1.1 q 512x1x1"},
    {"an empty UID", "CT.1.2", 3, " 1.2 q 2x3x1",
     "Either SOP Instance UID, SOP Class UID or Series Instance UID was missing from the object table for CT.1.2\n"},
    {"of two references the first", "CT.1.3", 2, "8.1 1.3 9.1 1x1x1", "File CT.1.3" + kSeek},
    {"a reference without a series", "CT.1.6", 1, "8.6 1.6  1x1x1",
     "File CT.1.6" + kSeek + "Series Instance UID could not get for object CT.1.6\n"},
    {"of another study", "CT.1.9", 1, "   1x1x1", "File CT.1.9" + kSeek},
};

TEST_F(PStateTest, ObjectInfoCollects)
{
  execute("INSERT INTO objects VALUES ('S','CT.1.1','c','1.1','q',512,0,65537),('S','CT.1.2','','1.2','q',2,3,1),"
          "('s','CT.1.9','c','1.9','q',1,1,1)");
  DcmDataset dataset;
  for (const auto& [series, image, sopClass] :
       {std::tuple("9.1", "1.3", "8.1"), std::tuple("9.2", "1.3", "8.2"), std::tuple("", "1.6", "8.6")})
  {
    DcmItem& item = samples::appendItem(dataset, DCM_ReferencedSeriesSequence);
    samples::putTexts(item, {{DCM_SeriesInstanceUID, series}});
    samples::putTexts(samples::appendItem(item, DCM_ReferencedImageSequence),
                      {{DCM_ReferencedSOPInstanceUID, image}, {DCM_ReferencedSOPClassUID, sopClass}});
  }
  DcmSequenceOfItems* sequence = nullptr;
  ASSERT_TRUE(dataset.findAndGetSequence(DCM_ReferencedSeriesSequence, sequence).good());
  for (const Collected& row : kCollected)
  {
    ObjectInfo object("S", row.name);
    const Capture said;
    EXPECT_EQ(object.collect(*db, sequence), row.result) << row.fact;
    EXPECT_EQ(said.error.str(), row.message) << row.fact;
    std::ostringstream found;
    found << object.sopClassUid << ' ' << object.sopInstanceUid << ' ' << object.seriesInstanceUid << ' '
          << object.columns << 'x' << object.rows << 'x' << object.frames;
    EXPECT_EQ(found.str(), row.found) << row.fact;
  }
}

TEST_F(PStateTest, ADatabaseThatFailsEndsTheConversion)
{
  execute("DROP TABLE objects");
  const Outcome outcome = convert(figureOf({}));
  EXPECT_FALSE(outcome.good);
  EXPECT_THAT(outcome.error, testing::MatchesRegex("Database problem: [^\n]*no such table: objects[^\n]*\n"
                                                   "An error occurred while getting SOP class UID for figure CT.1.2.3\n"
                                                   "parseFigure returns false\n[^\n]*\n"));
}

TEST_F(PStateTest, SomeAnswersOfTheDatabaseAreRemembered)
{
  tarn::images::ImageSources sources(*db, "1.2", nullptr);
  execute("ALTER TABLE objects RENAME TO aside");
  EXPECT_THROW(sources.findRow("CT.1.2.3"), tarn::db::DBException);
  execute("ALTER TABLE aside RENAME TO objects");
  EXPECT_TRUE(sources.findRow("CT.1.2.3")) << "a failure is not remembered";
  execute("DELETE FROM objects");
  EXPECT_TRUE(sources.findRow("CT.1.2.3")) << "an object is";
  for (std::size_t other = 0; other < tarn::images::ImageSources::kMostRemembered; ++other)
    EXPECT_FALSE(sources.findRow(std::to_string(other)));
  EXPECT_FALSE(sources.findRow("CT.1.2.3")) << "not without bounds";
}

TEST(ObjectInfo, ToInt)
{
  const std::pair<const char*, int> rows[] = {{nullptr, 7},  {"", 7},     {"65536", 7}, {"65537", 65537},
                                              {"12abc", 12}, {" -5", -5}, {"010", 10}};
  for (const auto& [text, expected] : rows)
    EXPECT_EQ(ObjectInfo::toInt(text, 7), expected) << (text ? text : "null");
}

} // namespace
