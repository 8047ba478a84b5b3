#include "Environment.h"
#include "TempDir.h"

#include "ArchiveSchema.h"
#include "Console.h"
#include "DBConnectorSql.h"
#include "ElementText.h"
#include "FileReader.h"
#include "ObjectInfo.h"
#include "ValidPresentationState.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcdicent.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <climits>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

using namespace impsconverter;

namespace
{

/// An input as it comes from a file.
struct Input
{
  Input()
  {
    DcmDataset& made = *file.getDataset();
    made.putAndInsertString(DCM_SOPClassUID, UID_GrayscaleSoftcopyPresentationStateStorage);
    made.putAndInsertString(DCM_SOPInstanceUID, "1.2");
    made.putAndInsertString(DCM_InstanceNumber, "2");
    const std::string path = dir.path() / "input";
    file.saveFile(path.c_str(), EXS_LittleEndianExplicit);
    EXPECT_TRUE(tarn::dicom::loadFile(file, path).good());
  }
  DcmDataset& dataset() { return *file.getDataset(); }

  TempDir dir;
  DcmFileFormat file;
};

/// What a fresh object of an input writes, and says.
class Output
{
public:
  explicit Output(Input& from, bool debug = false)
    : input(from), console(out, error), state(&from.dataset(), "1.2.3", 5, debug)
  {
    object.sopClassUid = "1.2.840.10008.5.1.4.1.1.2";
    object.sopInstanceUid = "1.2.4";
    object.seriesInstanceUid = "1.2.5";
  }
  bool reference() { return state.setImageReferences(object, "1"); }

  /// The saved file's value at a path of tags, each the last item's of its sequence; "(none)" where there is none.
  std::string saved(const std::vector<DcmTagKey>& path)
  {
    DcmFileFormat file;
    EXPECT_TRUE(state.save(input.dir.path().string() + "/"));
    EXPECT_TRUE(tarn::dicom::loadFile(file, input.dir.path() / "PR.1.2.3").good());
    DcmItem* item = file.getDataset();
    for (std::size_t level = 0; item && level + 1 < path.size(); ++level)
      if (item->findAndGetSequenceItem(path[level], item, -1).bad())
        return "(none)";
    DcmElement* element = nullptr;
    if (item->findAndGetElement(path.back(), element).bad())
      return "(none)";
    if (element->ident() == EVR_SQ)
      return std::to_string(dynamic_cast<DcmSequenceOfItems*>(element)->card()) + " items";
    OFString text;
    element->getOFStringArray(text);
    return text.c_str();
  }

  Input& input;
  std::ostringstream out, error;
  tarn::ConsoleScope console;
  ObjectInfo object{"study", "CT.1.2.4"};
  ValidPresentationState state;
};

const DcmTagKey kArea = DCM_DisplayedAreaSelectionSequence;

/// A data dictionary in which one attribute has another VR, for as long as it lives.
class OtherVr
{
public:
  OtherVr(const DcmTagKey& attribute, DcmEVR vr) : key(attribute), before(DcmTag(key).getEVR()) { change(vr); }
  ~OtherVr() { change(before); }
  OtherVr(const OtherVr&) = delete;
  OtherVr& operator=(const OtherVr&) = delete;

private:
  void change(DcmEVR vr)
  {
    const std::string name = DcmTag(key).getTagName();
    dcmDataDict.wrlock().addEntry(
        new DcmDictEntry(key.getGroup(), key.getElement(), DcmVR(vr), name.c_str(), 1, 1, "DICOM", OFTrue, nullptr));
    dcmDataDict.wrunlock();
  }
  DcmTagKey key;
  DcmEVR before;
};

using Call = std::function<bool(Output&)>;
const Call kReference = [](Output& o) { return o.reference(); };
const Call kLayer = [](Output& o) { return o.state.checkAndCreateAnnotationLayer(); };
const Call kClip = [](Output& o) { return o.state.setClip(1, 2, 3, 4); };
const Call kLevel = [](Output& o) { return o.state.setWindowLevel(1, 2, false); };
const Call kSpacing = [](Output& o) { return o.state.setPixelSpacing(1, 2); };
const Call kMagnify = [](Output& o) { return o.state.setSizeMode(SIZE_MODE_MAGNIFY); };
const Call kZoom = [](Output& o) { return o.state.setZoom(1, 2); };
const Call kTurn = [](Output& o) { return o.state.setOrientation(90, false); };
const Call kClean = [](Output& o) { return o.state.clean(); };

TEST(Messages, SettersBeforeTheReferences)
{
  for (const Call& call : {kClip, kMagnify, kZoom, kSpacing})
  {
    Input input;
    Output output(input);
    EXPECT_FALSE(call(output));
    EXPECT_EQ(output.error.str(), "Displayed Area Selection Item was expected but does not exist\n");
  }
}

TEST(Messages, AnElementOfTheInputThatIsNoSequence)
{
  const struct
  {
    DcmTagKey tag;
    Call call;
    const char* message;
  } rows[] = {
      {kArea, kReference, "No new item could be created in Displayed Area Selection Sequence: Invalid VR\n"},
      {DCM_SoftcopyVOILUTSequence, kLevel, "Softcopy VOI LUT Sequence item could not created: Invalid VR\n"},
      {DCM_GraphicLayerSequence, kLayer, "Graphic Layer Sequence item could not be created: Invalid VR\n"},
      {DCM_GraphicAnnotationSequence, kLayer, "Graphic Annotation Sequence item could not be created: Invalid VR\n"},
      {DCM_ReferencedSeriesSequence, kReference, ""}, // replaced
      {DCM_SourceImageSequence, kClean, ""},          // removed
  };
  for (const auto& row : rows)
  {
    Input input;
    auto text = std::make_unique<DcmLongText>(DcmTag(row.tag, EVR_LT));
    text->putString("text");
    ASSERT_TRUE(input.dataset().insert(text.release(), true).good());
    Output output(input);
    EXPECT_TRUE(row.tag == kArea || output.reference());
    EXPECT_EQ(row.call(output), *row.message == '\0') << row.message;
    EXPECT_EQ(output.error.str(), row.message);
  }
}

TEST(Messages, ADictionaryThatGivesAnAttributeAnotherVr)
{
  const std::string area = " could not be inserted to Displayed Area Selection Item: ";
  const std::string series = " could not be inserted to Referenced Series Sequence item: ";
  const std::string image = " could not be inserted to Referenced Image Sequence: ";
  const std::string lut = " could not be inserted to Softcopy VOI LUT Sequence item: ";
  const std::string illegal = "Illegal call, perhaps wrong parameters\n";
  const struct
  {
    DcmTagKey tag;
    Call call;
    std::string message;
  } rows[] = {
      {DCM_ImageRotation, kTurn, "Image Rotation could not be set: "},
      {DCM_ImageHorizontalFlip, kTurn, "Image Horizontal Flip could not be set: "},
      {DCM_PresentationSizeMode, kMagnify, "Presentation Size Mode" + area},
      {DCM_PresentationPixelMagnificationRatio, kZoom, "Presentation Pixel Magnification Ratio" + area},
      {DCM_PresentationPixelSpacing, kSpacing, "Presentation Pixel Spacing" + area},
      {DCM_PresentationLUTShape, kLevel, "Presentation LUT Shape could not be inserted to dataset: "},
      {DCM_WindowCenter, kLevel, "Window Center" + lut},
      {DCM_WindowWidth, kLevel, "Window Width" + lut},
      {DCM_ReferencedSOPClassUID, kReference, "Referenced SOP Class UID" + image},
      {DCM_ReferencedSOPInstanceUID, kReference, "Referenced SOP Instance UID" + image},
      {DCM_SeriesInstanceUID, kReference, "Series Instance UID" + series},
      {DCM_GraphicLayer, kLayer, "Graphic Layer name could not be created: "},
      {DCM_GraphicLayerOrder, kLayer, "Graphic Layer Order could not be created: "},
      {DCM_InstanceNumber, kClean, "Instance Number 7405 could not be inserted to dataset: "},
  };
  for (const auto& row : rows)
  {
    Input input;
    Output output(input);
    EXPECT_TRUE(output.reference());
    EXPECT_TRUE(row.tag != DCM_PresentationPixelMagnificationRatio || kMagnify(output));
    const OtherVr other(row.tag, EVR_SQ);
    EXPECT_FALSE(row.call(output));
    EXPECT_EQ(output.error.str(), row.message + illegal);
  }
}

TEST(Messages, ASecondClipAndAMissingDirectory)
{
  Input input;
  Output output(input, true);
  EXPECT_TRUE(output.reference() && kClip(output));
  EXPECT_FALSE(kClip(output));
  EXPECT_FALSE(output.state.save(input.dir.path().string() + "/none/"));
  EXPECT_EQ(output.error.str(), "Displayed Area Top Left Hand Corner element could not be inserted to Displayed Area "
                                "Selection Item: Doubled tag\n"
                                "Presentation State file PR.1.2.3 could not be saved: No such file or directory\n");
  EXPECT_THAT(output.out.str(), testing::StartsWith(" ===== Result PS PR.1.2.3 =====\n"));
  EXPECT_THAT(output.out.str(), testing::EndsWith("\n === END Result PS PR.1.2.3 ===\nSaving PR.1.2.3\n"));
}

TEST(View, OrientationArrangesTheCorners)
{
  const char *const normal = "10\\20 109\\69", *const topBottom = "10\\69 109\\20", *const turned = "109\\69 10\\20",
                    *const leftRight = "109\\20 10\\69";
  const struct
  {
    int rotation;
    bool flip;
    const char *corners, *written;
  } rows[] = {{0, false, normal, "0N"},        {0, true, leftRight, "0Y"},   {90, false, topBottom, "90N"},
              {90, true, normal, "90Y"},       {180, false, turned, "180N"}, {180, true, topBottom, "180Y"},
              {270, false, leftRight, "270N"}, {270, true, turned, "270Y"},  {45, true, normal, "45Y"},
              {-90, false, normal, "65446N"},  {65626, false, normal, "90N"}};
  for (const auto& row : rows)
  {
    Input input;
    Output output(input);
    EXPECT_TRUE(output.reference() && output.state.setOrientation(row.rotation, row.flip));
    EXPECT_TRUE(output.state.setClip(10, 20, 100, 50));
    EXPECT_EQ(output.saved({kArea, DCM_DisplayedAreaTopLeftHandCorner}) + ' ' +
                  output.saved({kArea, DCM_DisplayedAreaBottomRightHandCorner}),
              row.corners)
        << row.rotation << row.flip;
    EXPECT_EQ(output.saved({DCM_ImageRotation}) + output.saved({DCM_ImageHorizontalFlip}), row.written);
  }
}

TEST(View, AnUnlistedPairKeepsTheArrangementAndCornersWrap)
{
  Input input;
  Output output(input);
  EXPECT_TRUE(output.reference() && output.state.setOrientation(180, false) && output.state.setOrientation(90, true));
  EXPECT_TRUE(output.state.setClip(INT_MAX, INT_MIN, INT_MAX, INT_MIN));
  EXPECT_EQ(output.saved({kArea, DCM_DisplayedAreaTopLeftHandCorner}), "-3\\-1");
  EXPECT_EQ(output.saved({kArea, DCM_DisplayedAreaBottomRightHandCorner}), "2147483647\\-2147483648");
}

TEST(View, SizeModeZoomSpacingAndWindow)
{
  const struct
  {
    int mode;
    const char *text, *ratio;
  } rows[] = {{0, "SCALE TO FIT", "(none)"},
              {1, "MAGNIFY", "2"},
              {2, "SCALE TO FIT", "(none)"},
              {3, "TRUE SIZE", "2"},
              {7, "SCALE TO FIT", "(none)"}};
  for (const auto& row : rows)
  {
    Input input;
    Output output(input);
    EXPECT_TRUE(output.reference() && output.state.setSizeMode(static_cast<SIZE_MODE>(row.mode)));
    EXPECT_TRUE(output.state.setZoom(2, 3) && output.state.setPixelSpacing(0.5, 0.25) &&
                output.state.setPixelSpacing(1e-7, 1.0 / 3));
    EXPECT_TRUE(output.state.setWindowLevel(1, 2, false) && output.state.setWindowLevel(400, -40, row.mode == 1));
    EXPECT_EQ(output.saved({kArea, DCM_PresentationSizeMode}), row.text);
    EXPECT_EQ(output.saved({kArea, DCM_PresentationPixelMagnificationRatio}), row.ratio);
    EXPECT_EQ(output.saved({kArea, DCM_PresentationPixelSpacing}), "1e-07\\0.333333");
    EXPECT_EQ(output.saved({DCM_SoftcopyVOILUTSequence, DCM_WindowCenter}), "-40");
    EXPECT_EQ(output.saved({DCM_SoftcopyVOILUTSequence, DCM_WindowWidth}), "400");
    EXPECT_EQ(output.saved({DCM_SoftcopyVOILUTSequence}), "1 items");
    EXPECT_EQ(output.saved({DCM_PresentationLUTShape}), row.mode == 1 ? "INVERSE" : "IDENTITY");
  }
}

TEST(Clean, InstanceNumber)
{
  const struct
  {
    const char* odd;
    DcmEVR vr; // EVR_UNKNOWN: no element
    const char *value, *expected;
  } rows[] = {{"missing", EVR_UNKNOWN, "", "33305"},      {"empty", EVR_IS, "", "33305"},
              {"ordinary", EVR_IS, "2", "7405"},          {"text after it", EVR_IS, "12abc", "44405"},
              {"negative", EVR_IS, "-3", "-11095"},       {"no number", EVR_IS, "abc", "33305"},
              {"largest", EVR_IS, "2147483647", "-3695"}, {"beyond 32 bits", EVR_IS, "9999999999", "-1143258735"},
              {"no number's VR", EVR_LO, "2", "33305"}};
  for (const auto& row : rows)
  {
    Input input;
    input.dataset().findAndDeleteElement(DCM_InstanceNumber);
    if (row.vr != EVR_UNKNOWN)
    {
      DcmElement* made = nullptr;
      DcmItem::newDicomElementWithVR(made, DcmTag(DCM_InstanceNumber, row.vr));
      made->putString(row.value);
      ASSERT_TRUE(input.dataset().insert(made, true).good());
    }
    Output output(input);
    EXPECT_EQ(output.saved({DCM_InstanceNumber}), row.expected) << row.odd;
  }
}

TEST(Clean, WhatIsRemovedAndWhatStays)
{
  Input input;
  DcmItem* item = nullptr;
  const DcmTagKey creator(0xF215, 0x10), state(0xF215, 0x1094), other(0xF215, 0x1095);
  input.dataset().findOrCreateSequenceItem(DCM_SourceImageSequence, item, -2);
  for (const DcmTagKey& tag : {DCM_ContentDescription, DCM_ContentCreatorName, DCM_Modality})
    input.dataset().putAndInsertString(tag, "CT");
  for (const DcmTagKey& tag : {creator, state, other})
    input.dataset().putAndInsertString(DcmTag(tag, EVR_LO), "PB group A");
  Output output(input);
  const struct
  {
    DcmTagKey tag;
    const char* expected;
  } rows[] = {{DCM_SourceImageSequence, "(none)"},
              {DCM_ContentDescription, ""},
              {DCM_ContentCreatorName, ""},
              {DCM_Modality, "PR"},
              {creator, "PB group A"},
              {state, "(none)"},
              {other, "PB group A"},
              {DCM_SOPInstanceUID, "1.2.3"}};
  for (const auto& row : rows)
    EXPECT_EQ(output.saved({row.tag}), row.expected) << row.tag;
  EXPECT_TRUE(input.dataset().tagExists(state)) << "the input is its own";
}

TEST(References, ReplaceTheInputsAndAddOneOfEachItem)
{
  Input input;
  DcmItem* item = nullptr;
  for (const DcmTagKey& sequence :
       {DCM_ReferencedSeriesSequence, kArea, DCM_GraphicLayerSequence, DCM_GraphicAnnotationSequence})
    for (int count = 0; count < 2; ++count)
      input.dataset().findOrCreateSequenceItem(sequence, item, -2);
  Output output(input);
  EXPECT_FALSE(kLayer(output)) << "no item yet";
  EXPECT_TRUE(output.reference() && output.reference());
  EXPECT_EQ(output.saved({DCM_GraphicAnnotationSequence}), "2 items") << "none is added for no annotation";
  EXPECT_TRUE(kLayer(output) && kLayer(output));
  const struct
  {
    std::vector<DcmTagKey> path;
    const char* expected;
  } rows[] = {
      {{DCM_ReferencedSeriesSequence}, "1 items"},
      {{DCM_ReferencedSeriesSequence, DCM_SeriesInstanceUID}, "1.2.5"},
      {{DCM_ReferencedSeriesSequence, DCM_ReferencedImageSequence}, "1 items"},
      {{DCM_ReferencedSeriesSequence, DCM_ReferencedImageSequence, DCM_ReferencedSOPClassUID},
       "1.2.840.10008.5.1.4.1.1.2"},
      {{DCM_ReferencedSeriesSequence, DCM_ReferencedImageSequence, DCM_ReferencedSOPInstanceUID}, "1.2.4"},
      {{DCM_ReferencedSeriesSequence, DCM_ReferencedImageSequence, DCM_ReferencedFrameNumber}, "1"},
      {{kArea}, "4 items"},
      {{DCM_GraphicLayerSequence}, "2 items"},
      {{DCM_GraphicLayerSequence, DCM_GraphicLayer}, "(none)"}, // the last one's: the first was named
      {{DCM_GraphicAnnotationSequence}, "3 items"},
      {{DCM_GraphicAnnotationSequence, DCM_GraphicLayer}, "ANNLAYER1"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(output.saved(row.path), row.expected) << row.path.back();
}

/// An embedded database with an object table.
class Archive
{
public:
  Archive() : environment({{"TARN_DB_URL", "sqlite:" + path}, {"OBJECTTBL", std::nullopt}})
  {
    connector = tarn::db::DBConnectorSql::open(tarn::db::Missing::create);
    tarn::db::createTables(*connector, tarn::db::Tables::all);
  }
  void execute(const char* sql) const
  {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
    sqlite3_close(database);
  }

  TempDir dir;
  std::string path = dir.path() / "archive.db";
  Environment environment;
  std::unique_ptr<tarn::db::DBConnectorSql> connector;
};

TEST(ObjectInfo, Collect)
{
  Archive archive;
  archive.execute(
      "INSERT INTO objects VALUES ('S','CT.1.1','c','1.1','s',512,0,65537),('S','CT.1.2','','1.2','s',1,1,1)");
  DcmDataset input;
  const auto refer = [&](const char* series, const char* image, const char* sopClass)
  {
    DcmItem *seriesItem = nullptr, *imageItem = nullptr;
    input.findOrCreateSequenceItem(DCM_ReferencedSeriesSequence, seriesItem, -2);
    if (series)
      seriesItem->putAndInsertString(DCM_SeriesInstanceUID, series);
    seriesItem->findOrCreateSequenceItem(DCM_ReferencedImageSequence, imageItem, -2);
    imageItem->putAndInsertString(DCM_ReferencedSOPInstanceUID, image);
    if (sopClass)
      imageItem->putAndInsertString(DCM_ReferencedSOPClassUID, sopClass);
  };
  refer("9.1", "1.3", "8.1");
  refer("9.2", "1.3", "8.2");
  refer("9.3", "1.4", nullptr);
  refer("9.4", "1.5", "8\\2");
  refer(nullptr, "1.6", "8.6");
  refer("9\\7", "1.7", "8.7");
  input.putAndInsertString(DcmTag(DCM_StudyInstanceUID), "S");
  DcmSequenceOfItems* sequence = nullptr;
  ASSERT_TRUE(input.findAndGetSequence(DCM_ReferencedSeriesSequence, sequence).good());
  const std::string seek = " was not found in the database - checking referenced series sequence\n";
  const struct
  {
    const char* odd;
    std::string name;
    int result;
    std::string uids, message;
  } rows[] = {
      {"in the table", "CT.1.1", 3, "c 1.1 s 512x1x1", ""},
      {"an empty UID", "CT.1.2", 3, " 1.2 s 1x1x1",
       "Either SOP Instance UID, SOP Class UID or Series Instance UID was missing from the object table for CT.1.2\n"},
      {"referenced: the first one", "CT.1.3", 2, "8.1 1.3 9.1 1x1x1", "File CT.1.3" + seek},
      {"no class", "CT.1.4", 1, " 1.4 9.3 1x1x1", "File CT.1.4" + seek},
      {"two classes", "CT.1.5", 1, " 1.5 9.4 1x1x1", "File CT.1.5" + seek},
      {"no series", "CT.1.6", 1, "8.6 1.6  1x1x1",
       "File CT.1.6" + seek + "Series Instance UID could not get for object CT.1.6\n"},
      {"two series", "CT.1.7", 1, "8.7 1.7  1x1x1",
       "File CT.1.7" + seek + "Series Instance UID could not get for object CT.1.7\n"},
      {"nowhere", "CT.7", 1, "   1x1x1", "File CT.7" + seek},
      {"no UID", "CT.", 1, "   1x1x1", "File CT." + seek},
      {"no point", "CT", 1, "   1x1x1", "File CT" + seek + "Invalid object name CT; contains no dot ('.')\n"},
  };
  const auto collected = [&](ObjectInfo& object, DcmSequenceOfItems* references, std::string& said)
  {
    std::ostringstream out, error;
    const tarn::ConsoleScope console(out, error);
    const int result = object.collect(*archive.connector, references);
    said = error.str();
    return result;
  };
  std::string said;
  for (const auto& row : rows)
  {
    ObjectInfo object("S", row.name);
    EXPECT_EQ(collected(object, sequence, said), row.result) << row.odd;
    EXPECT_EQ(said, row.message) << row.odd;
    std::ostringstream uids;
    uids << object.sopClassUid << ' ' << object.sopInstanceUid << ' ' << object.seriesInstanceUid << ' '
         << object.columns << 'x' << object.rows << 'x' << object.frames;
    EXPECT_EQ(uids.str(), row.uids) << row.odd;
  }
  ObjectInfo otherStudy("s", "CT.1.1"), failing("S", "CT.1.1");
  EXPECT_EQ(collected(otherStudy, nullptr, said), 1);
  EXPECT_EQ(said, "File CT.1.1" + seek);
  archive.execute("DROP TABLE objects");
  EXPECT_EQ(collected(failing, sequence, said), 0);
  EXPECT_THAT(said, testing::MatchesRegex("Database problem: [^\n]*no such table: objects[^\n]*\n"));
}

TEST(ObjectInfo, ToInt)
{
  const struct
  {
    const char* text;
    int expected; // the fallback is 7
  } rows[] = {{nullptr, 7},  {"", 7},     {"0", 7},  {"65536", 7}, {"131072", 7}, {"65537", 65537},
              {"12abc", 12}, {" -5", -5}, {"+3", 3}, {"abc", 7},   {"010", 10}};
  for (const auto& row : rows)
    EXPECT_EQ(ObjectInfo::toInt(row.text, 7), row.expected) << (row.text ? row.text : "null");
}

} // namespace
