#include "StateFixture.h"
#include "ToolkitFault.h"

#include "DicomFile.h"
#include "DBException.h"
#include "ObjectInfo.h"
#include "StudyObjects.h"
#include "ValidPresentationState.h"

#include <gmock/gmock.h>

#include <climits>
#include <functional>
#include <tuple>

using namespace impsconverter;

namespace
{

using State = ValidPresentationState;
using Call = std::function<bool(State&)>;
const DcmTagKey kArea = DCM_DisplayedAreaSelectionSequence;

bool reference(State& state)
{
  ObjectInfo object("study", "CT.1.2.4");
  object.sopClassUid = "1.2.840.10008.5.1.4.1.1.2";
  object.sopInstanceUid = "1.2.4";
  object.seriesInstanceUid = "1.2.5";
  return state.setImageReferences(object, "1");
}
const Call kLayer = [](State& s) { return s.checkAndCreateAnnotationLayer(); };
const Call kClip = [](State& s) { return s.setClip(10, 20, 100, 50); };
const Call kLevel = [](State& s) { return s.setWindowLevel(1, 2, false); };
const Call kSpacing = [](State& s) { return s.setPixelSpacing(1, 2); };
const Call kMagnify = [](State& s) { return s.setSizeMode(SIZE_MODE_MAGNIFY); };
const Call kZoom = [](State& s) { return s.setZoom(1, 2); };
const Call kTurn = [](State& s) { return s.setOrientation(90, false); };
const Call kClean = [](State& s) { return s.clean(); };

class PStateTest : public StateFixture
{
protected:
  std::unique_ptr<State> opened(bool debug = false)
  {
    input.updateOriginalXfer();
    return std::make_unique<State>(&input, "1.2.3", 5, debug);
  }
  std::unique_ptr<State> referring()
  {
    auto result = opened();
    EXPECT_TRUE(reference(*result));
    return result;
  }
  /// What the saved file says of the tags.
  std::string saved(State& state, const std::vector<DcmTagKey>& tags) const
  {
    EXPECT_TRUE(state.save(prefix));
    const std::string text = describeOutput(tags, "PR.1.2.3");
    std::filesystem::remove(prefix + "PR.1.2.3");
    return text;
  }
  void insertInput(const DcmTagKey& tag, DcmEVR vr, const char* value)
  {
    DcmElement* made = nullptr;
    ASSERT_TRUE(DcmItem::newDicomElementWithVR(made, DcmTag(tag, DcmVR(vr))).good());
    made->putString(value);
    ASSERT_TRUE(input.insert(made, true).good());
  }

  const std::unique_ptr<DcmFileFormat> file = state("");
  DcmDataset& input = *file->getDataset();
};

TEST_F(PStateTest, ASequenceThatIsMissingOrNone)
{
  for (const Call& call : {kClip, kMagnify, kZoom, kSpacing})
  {
    const Capture said;
    EXPECT_FALSE(call(*opened()));
    EXPECT_EQ(said.error.str(), "Displayed Area Selection Item was expected but does not exist\n");
  }
  const std::tuple<DcmTagKey, Call, std::string> rows[] = {
      {kArea, reference, "No new item could be created in Displayed Area Selection Sequence: Invalid VR\n"},
      {DCM_SoftcopyVOILUTSequence, kLevel, "Softcopy VOI LUT Sequence item could not created: Invalid VR\n"},
      {DCM_GraphicLayerSequence, kLayer, "Graphic Layer Sequence item could not be created: Invalid VR\n"},
      {DCM_GraphicAnnotationSequence, kLayer, "Graphic Annotation Sequence item could not be created: Invalid VR\n"},
      {DCM_ReferencedSeriesSequence, reference, ""}, // replaced
      {DCM_SourceImageSequence, kClean, ""},         // removed
  };
  for (const auto& [tag, call, message] : rows)
  {
    input.findAndDeleteElement(DCM_ReferencedSeriesSequence);
    insertInput(tag, EVR_LT, "text");
    const Capture said;
    const auto state = tag == kArea ? opened() : referring();
    EXPECT_EQ(call(*state), message.empty()) << message;
    EXPECT_EQ(said.error.str(), message);
    input.findAndDeleteElement(tag);
  }
}

TEST_F(PStateTest, NamesTheElementThatCouldNotBeWritten)
{
  const std::string area = " could not be inserted to Displayed Area Selection Item: ";
  const std::string image = " could not be inserted to Referenced Image Sequence: ";
  const std::string lut = " could not be inserted to Softcopy VOI LUT Sequence item: ";
  const std::tuple<DcmTagKey, Call, std::string> rows[] = {
      {DCM_ImageRotation, kTurn, "Image Rotation could not be set: "},
      {DCM_ImageHorizontalFlip, kTurn, "Image Horizontal Flip could not be set: "},
      {DCM_PresentationSizeMode, kMagnify, "Presentation Size Mode" + area},
      {DCM_PresentationPixelMagnificationRatio, kZoom, "Presentation Pixel Magnification Ratio" + area},
      {DCM_PresentationPixelSpacing, kSpacing, "Presentation Pixel Spacing" + area},
      {DCM_PresentationLUTShape, kLevel, "Presentation LUT Shape could not be inserted to dataset: "},
      {DCM_WindowCenter, kLevel, "Window Center" + lut},
      {DCM_WindowWidth, kLevel, "Window Width" + lut},
      {DCM_ReferencedSOPClassUID, reference, "Referenced SOP Class UID" + image},
      {DCM_ReferencedSOPInstanceUID, reference, "Referenced SOP Instance UID" + image},
      {DCM_SeriesInstanceUID, reference,
       "Series Instance UID could not be inserted to Referenced Series Sequence item: "},
      {DCM_GraphicLayer, kLayer, "Graphic Layer name could not be created: "},
      {DCM_GraphicLayerOrder, kLayer, "Graphic Layer Order could not be created: "},
      {DCM_InstanceNumber, kClean, "Instance Number 18505 could not be inserted to dataset: "},
  };
  for (const auto& [tag, call, message] : rows)
  {
    const Capture said;
    const auto state = referring();
    EXPECT_TRUE(kMagnify(*state));
    const ToolkitFault fault(ToolkitFault::inserting, tag);
    EXPECT_FALSE(call(*state));
    EXPECT_EQ(said.error.str(), message + "Illegal call, perhaps wrong parameters\n");
  }
}

TEST_F(PStateTest, OrientationArrangesTheCornersOfTheClip)
{
  const Call none = [](State&) { return true; };
  const Call halfTurn = [](State& s) { return s.setOrientation(180, false); };
  const Call wrapping = [](State& s) { return s.setClip(INT_MAX, INT_MIN, INT_MAX, INT_MIN); };
  const struct
  {
    Call before;
    int rotation;
    bool flip;
    Call clip;
    const char *topLeft, *bottomRight, *written;
  } rows[] = {{none, 0, false, kClip, "10\\20", "109\\69", "N 0"},
              {none, 0, true, kClip, "109\\20", "10\\69", "Y 0"},
              {none, 90, false, kClip, "10\\69", "109\\20", "N 90"},
              {none, 90, true, kClip, "10\\20", "109\\69", "Y 90"},
              {none, 180, false, kClip, "109\\69", "10\\20", "N 180"},
              {none, 180, true, kClip, "10\\69", "109\\20", "Y 180"},
              {none, 270, false, kClip, "109\\20", "10\\69", "N 270"},
              {none, 270, true, kClip, "109\\69", "10\\20", "Y 270"},
              {none, -90, false, kClip, "10\\20", "109\\69", "N 65446"},
              {halfTurn, 90, true, kClip, "109\\69", "10\\20", "Y 90"}, // an unlisted pair changes nothing
              {halfTurn, 90, true, wrapping, "-3\\-1", "2147483647\\-2147483648", "Y 90"}};
  for (const auto& row : rows)
  {
    const auto state = referring();
    EXPECT_TRUE(row.before(*state) && state->setOrientation(row.rotation, row.flip) && row.clip(*state));
    const std::string written = row.written;
    EXPECT_EQ(saved(*state, {kArea, DCM_ImageRotation, DCM_ImageHorizontalFlip}),
              "ImageHorizontalFlip:CS=" + written.substr(0, 1) + " ImageRotation:US=" + written.substr(2) +
                  " DisplayedAreaSelectionSequence{DisplayedAreaTopLeftHandCorner:SL=" + row.topLeft +
                  " DisplayedAreaBottomRightHandCorner:SL=" + row.bottomRight + "}");
  }
}

TEST_F(PStateTest, CleaningMakesAnInstanceNumber)
{
  const std::tuple<const char*, DcmEVR, const char*, const char*> rows[] = {
      {"empty", EVR_IS, "", "33305"},
      {"ordinary", EVR_IS, "2", "7405"},
      {"negative", EVR_IS, "-3", "-11095"},
      {"largest", EVR_IS, "2147483647", "-3695"},
      {"beyond 32 bits", EVR_IS, "9999999999", "-1143258735"},
      {"no number's VR", EVR_LO, "2", "33305"}};
  for (const auto& [odd, vr, value, expected] : rows)
  {
    insertInput(DCM_InstanceNumber, vr, value);
    EXPECT_EQ(saved(*opened(), {DCM_InstanceNumber}), "InstanceNumber:IS=" + std::string(expected)) << odd;
  }
  input.findAndDeleteElement(DCM_InstanceNumber);
  EXPECT_EQ(saved(*opened(), {DCM_InstanceNumber}), "InstanceNumber:IS=33305") << "missing";
}

TEST_F(PStateTest, CleaningRemovesWhatIsPrivateOrOfTheSource)
{
  const DcmTagKey other(0xF215, 0x1095);
  samples::appendItem(input, DCM_SourceImageSequence);
  for (const DcmTagKey& tag : {DCM_ContentDescription, DCM_ContentCreatorName, DCM_Modality})
    samples::putTexts(input, {{tag, "CT"}});
  insertInput(other, EVR_LO, "stays");
  EXPECT_EQ(saved(*opened(), {DCM_SourceImageSequence, DCM_ContentDescription, DCM_ContentCreatorName, DCM_Modality,
                              DCM_SOPInstanceUID, DcmTagKey(0xF215, 0x10), kPluginState, other}),
            "SOPInstanceUID:UI=1.2.3 Modality:CS=PR ContentDescription:LO= ContentCreatorName:PN= "
            "PrivateCreator:LO=PB group A Unknown Tag & Data:LO=stays");
  EXPECT_TRUE(input.tagExists(kPluginState)) << "the input is its own";
}

TEST_F(PStateTest, ObjectInfoCollects)
{
  execute("INSERT INTO objects VALUES ('S','CT.1.1','c','1.1','q',512,0,65537),('S','CT.1.2','','1.2','q',2,3,1)");
  DcmDataset dataset;
  const auto refer = [&](const char* series, const char* image, const char* sopClass)
  {
    DcmItem& seriesItem = samples::appendItem(dataset, DCM_ReferencedSeriesSequence);
    if (series)
      samples::putTexts(seriesItem, {{DCM_SeriesInstanceUID, series}});
    samples::putTexts(samples::appendItem(seriesItem, DCM_ReferencedImageSequence),
                      {{DCM_ReferencedSOPInstanceUID, image}, {DCM_ReferencedSOPClassUID, sopClass}});
  };
  refer("9.1", "1.3", "8.1");
  refer("9.2", "1.3", "8.2");
  refer(nullptr, "1.6", "8.6");
  DcmSequenceOfItems* sequence = nullptr;
  ASSERT_TRUE(dataset.findAndGetSequence(DCM_ReferencedSeriesSequence, sequence).good());
  const std::string seek = " was not found in the database - checking referenced series sequence\n";
  const std::string noSeries = "Series Instance UID could not get for object ";
  const struct
  {
    const char* odd;
    std::string study, name;
    int result;
    std::string uids, message;
  } rows[] = {
      {"in the table", "S", "CT.1.1", 3, "c 1.1 q 512x1x1", ""},
      {"another study's", "s", "CT.1.1", 1, "   1x1x1", "File CT.1.1" + seek},
      {"an empty UID", "S", "CT.1.2", 3, " 1.2 q 2x3x1",
       "Either SOP Instance UID, SOP Class UID or Series Instance UID was missing from the object table for CT.1.2\n"},
      {"referenced: the first one", "S", "CT.1.3", 2, "8.1 1.3 9.1 1x1x1", "File CT.1.3" + seek},
      {"no series", "S", "CT.1.6", 1, "8.6 1.6  1x1x1", "File CT.1.6" + seek + noSeries + "CT.1.6\n"},
      {"nowhere", "S", "CT.7", 1, "   1x1x1", "File CT.7" + seek},
      {"no point", "S", "CT", 1, "   1x1x1", "File CT" + seek + "Invalid object name CT; contains no dot ('.')\n"},
  };
  for (const auto& row : rows)
  {
    ObjectInfo object(row.study, row.name);
    const Capture said;
    EXPECT_EQ(object.collect(*db, sequence), row.result) << row.odd;
    EXPECT_EQ(said.error.str(), row.message) << row.odd;
    std::ostringstream uids;
    uids << object.sopClassUid << ' ' << object.sopInstanceUid << ' ' << object.seriesInstanceUid << ' '
         << object.columns << 'x' << object.rows << 'x' << object.frames;
    EXPECT_EQ(uids.str(), row.uids) << row.odd;
  }
  execute("DROP TABLE objects");
  const Capture said;
  EXPECT_EQ(ObjectInfo("S", "CT.1.1").collect(*db, sequence), 0);
  EXPECT_THAT(said.error.str(), testing::MatchesRegex("Database problem: [^\n]*no such table: objects[^\n]*\n"));
}

TEST_F(PStateTest, AnObjectIsAskedForOnce)
{
  StudyObjects objects(*db, "1.2");
  const auto columns = [&](const std::string& name)
  {
    const auto* row = objects.find(name);
    return row ? row->columns : -1;
  };
  execute("ALTER TABLE objects RENAME TO aside");
  EXPECT_THROW(columns("CT.1.2.3"), tarn::db::DBException);
  execute("ALTER TABLE aside RENAME TO objects");
  EXPECT_EQ(columns("CT.1.2.3"), 512) << "a failure is not remembered";
  EXPECT_EQ(columns("CT.1.2.4"), -1);
  execute("UPDATE objects SET FNAME='CT.1.2.4'");
  EXPECT_EQ(columns("CT.1.2.3"), 512);
  EXPECT_EQ(columns("CT.1.2.4"), -1);
  EXPECT_EQ(StudyObjects(*db, "1.2").find("CT.1.2.4")->columns, 512) << "another run asks anew";
  for (std::size_t other = 0; other < StudyObjects::kMostRemembered; ++other)
    EXPECT_EQ(columns(std::to_string(other)), -1);
  EXPECT_EQ(columns("CT.1.2.3"), -1) << "what is remembered is bounded";
}

TEST(ObjectInfo, ToInt)
{
  const std::tuple<const char*, int> rows[] = {{nullptr, 7},  {"", 7},          {"0", 7},      {"65536", 7},
                                               {"131072", 7}, {"65537", 65537}, {"12abc", 12}, {" -5", -5},
                                               {"+3", 3},     {"abc", 7},       {"010", 10}};
  for (const auto& [text, expected] : rows)
    EXPECT_EQ(ObjectInfo::toInt(text, 7), expected) << (text ? text : "null");
}

} // namespace
