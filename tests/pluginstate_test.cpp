#include "StateFixture.h"

#include "PSConverter.h"

#include <tuple>

using namespace impsconverter;

namespace
{

using PluginStateTest = StateFixture;

const std::string kFigureFailed = "parseFigure returns false\nparsePluginState returns false (parseFigure)\n";
const std::string kNowhere = "File CT.9 was not found in the database - checking referenced series sequence\n"
                             "Could not get SOP class UID for CT.9 referenced in annotations - excluding from output\n";

TEST_F(PluginStateTest, RefusesWithOneLineALevel)
{
  struct Row
  {
    const char* name;
    std::string text;
    std::string error;
    std::size_t saved = 0;
  };
  const auto line = [](const std::string& text) { return figureOf({text}); };
  const auto count = [](const char* kind, int arguments)
  { return "Invalid number of arguments for '" + std::string(kind) + "': " + std::to_string(arguments) + "\n"; };
  const std::string none = "Plugin State contains no figure\n", shortOne = "Figure is too short\n";
  const std::string prefixed = "Figure starts with an invalid prefix\n";
  const std::string slash = "Invalid ID in figure - contains no slash ('/')\n" + kFigureFailed;
  const std::string underscore = "Invalid ID in figure - contains no underscore ('_')\n" + kFigureFailed;
  const Row rows[] = {
      {"empty", "", none},
      {"a label alone", "label", none},
      {"the figure behind a NUL", std::string("label\0\\ID+1/2_3", 15), none},
      {"a backslash at the end", "label\\", shortOne},
      {"a backslash at the end of a figure", "label\\ID+1.2/CT.1.2.3_1\\", shortOne, 1},
      {"two backslashes", "label\\\\ID+1/2_3", shortOne},
      {"two characters", "label\\ID", shortOne},
      {"small letters", "label\\id+1/2_3", prefixed},
      {"the blank as an escape", "label\\ID%201/2_3", prefixed},
      {"no slash", "label\\ID+12_3", slash},
      {"no underscore", "label\\ID+1/23", underscore},
      {"an underscore before the slash", "label\\ID+1_2/3", underscore},
      {"a second ID without slash", "label\\ID+1.2/CT.1.2.3_1%0AID+1", slash, 1},
      {"light of three", line("light 1 2 3"), count("light", 3) + kFigureFailed},
      {"light of none", line("light "), count("light", -1) + kFigureFailed},
      {"light of words", line("light a b"), count("light", 0) + kFigureFailed},
      {"sized of three", line("sized 1 2 3"), count("sized", 3) + kFigureFailed},
      {"pixel of one", line("pixel 1,5 2"), count("pixel", 1) + kFigureFailed},
      {"clip of four", line("clip 2 0 0 5"), count("pixel", 4) + kFigureFailed},
      {"orientation 8", line("sized 1 1 0 8"), "Invalid image orientation: 8\n" + kFigureFailed},
      {"orientation -1", line("sized 1 1 0 -1"), "Invalid image orientation: -1\n" + kFigureFailed},
      {"a failing line of a dropped object", "l\\ID+1.2/CT.9_1%0Alight+1",
       kNowhere + count("light", 1) + kFigureFailed},
  };
  for (const Row& row : rows)
  {
    SCOPED_TRACE(row.name);
    const Outcome outcome = convert(row.text);
    EXPECT_FALSE(outcome.good);
    EXPECT_EQ(row.error, outcome.error);
    EXPECT_EQ(row.saved, outputNames().size()) << "what was complete stays";
    std::filesystem::remove(prefix + kFirstName);
  }
}

TEST_F(PluginStateTest, ViewLinesReadBack)
{
  struct Row
  {
    const char* name;
    std::vector<std::string> lines;
    std::string area; ///< items of the displayed area
    std::string rest;
    std::string error{};
  };
  const std::string upright = "ImageHorizontalFlip:CS=N ImageRotation:US=0";
  const auto area = [](const std::string& mode, const std::string& corner = "512\\256")
  {
    return "DisplayedAreaTopLeftHandCorner:SL=1\\1 DisplayedAreaBottomRightHandCorner:SL=" + corner +
           " PresentationSizeMode:CS=" + mode;
  };
  const std::string fit = area("SCALE TO FIT"), ratio = " PresentationPixelMagnificationRatio:FL=2.5";
  const std::string twice = "Displayed Area Top Left Hand Corner element could not be inserted to Displayed Area "
                            "Selection Item: Doubled tag\n";
  // The sample states show the rest: the other orientations and the usual lines.
  const Row rows[] = {
      {"no line", {}, "", ""},
      {"size mode 3", {"sized 512 256 3 0"}, fit, upright},
      {"size mode -7", {"sized 512 256 -7 0 and more"}, fit, upright},
      {"orientation 5", {"sized 512 256 1 5"}, fit, "ImageHorizontalFlip:CS=Y ImageRotation:US=90"},
      {"sized twice",
       {"sized 512 256 1 0", "sized 9 9 0 1"},
       area("MAGNIFY"),
       "ImageHorizontalFlip:CS=N ImageRotation:US=90",
       twice},
      {"the ends", {"sized -2147483648 2147483647 1 0"}, area("SCALE TO FIT", "-2147483648\\2147483647"), upright},
      {"clip of five", {"sized 512 256 0 0", "clip 2.5 0 0 5 6"}, area("MAGNIFY") + ratio, upright},
      {"clip of six", {"sized 512 256 2 0", "clip 2.5 0 0 5 6 3"}, area("TRUE SIZE") + ratio, upright},
      {"clip before sized", {"clip 2 0 0 5 6", "sized 512 256 0 0"}, area("MAGNIFY"), upright},
      {"pixel twice", {"pixel 1.5 0.25", "pixel 0.75 1e-3"}, "PresentationPixelSpacing:DS=0.75\\0.001", ""},
      {"light inverted",
       {"light -2147483648 1 -1 0"},
       "",
       "SoftcopyVOILUTSequence{WindowCenter:DS=1 WindowWidth:DS=-2147483648} PresentationLUTShape:CS=INVERSE"},
      {"lines that are none", {"", " light 1", "Light 1", "light", "lights 1", "ruler_x", "oval_xx 1", "\xff"}, "", ""},
  };
  for (const Row& row : rows)
  {
    SCOPED_TRACE(row.name);
    const Outcome outcome = convert(figureOf(row.lines));
    EXPECT_TRUE(outcome.good);
    EXPECT_EQ(row.error, outcome.error);
    EXPECT_EQ("DisplayedAreaSelectionSequence{" + row.area + "}", describeOutput({DCM_DisplayedAreaSelectionSequence}));
    EXPECT_EQ(row.rest, describeOutput({DCM_ImageHorizontalFlip, DCM_ImageRotation, DCM_PresentationLUTShape,
                                        DCM_SoftcopyVOILUTSequence}));
  }
}

TEST_F(PluginStateTest, DecodesFigureAndLabel)
{
  const std::pair<std::string, const char*> rows[] = {
      {"a+b", nullptr}, // ends the label: a blank of the figure
      {"a%2Bb%252Bc", "a b+c"}, {"a%2541", "aA"},       {"a%25", "a"},
      {"x%zz", "x%zz"},         {"x%4", "x"},           {"x%", "x"},
      {"%%41x", "%Ax"},         {"%25%34%31", "A"},     {"x%00y", "x"},
      {"x%2500y", "x"},         {"%b0%B0", "\xB0\xB0"}, {"a%5Cb", "a\\b"},
  };
  for (const auto& [label, expected] : rows)
  {
    SCOPED_TRACE(label);
    EXPECT_EQ("", convert("l\\ID+1.2/CT.1.2.3_1%0Atext_x+1+r+1+1+0+0+0+0+0|0+" + label).error);
    DcmItem* item = nullptr;
    const auto file = output();
    ASSERT_TRUE(file->getDataset()->findAndGetSequenceItem(DCM_GraphicAnnotationSequence, item).good());
    ASSERT_TRUE(item->findAndGetSequenceItem(DCM_TextObjectSequence, item).good());
    EXPECT_EQ("UnformattedTextValue:ST=" + std::string(expected ? expected : "a"),
              describe(*item, {DCM_UnformattedTextValue}));
  }
}

TEST_F(PluginStateTest, EachIdLineIsAnOutput)
{
  const std::string id = "ID+1.2/CT.1.2.3_";
  // frames: of the outputs, in order; null for a number without output
  const std::tuple<const char*, std::string, std::vector<const char*>, std::string> rows[] = {
      {"three in one figure", "l\\" + id + "1%0A" + id + "2%0A" + id + "3", {"1", "2", "3"}, ""},
      {"three figures", "l\\" + id + "1\\" + id + "2\\" + id + "3", {"1", "2", "3"}, ""},
      {"a dropped one uses up its number",
       "l\\" + id + "1\\ID+1.2/CT.9_1%0Apixel+1+1\\" + id + "3",
       {"1", nullptr, "3"},
       kNowhere},
      {"no point in the name",
       "l\\ID+x/CT9_1\\" + id + "2",
       {nullptr, "2"},
       "File CT9 was not found in the database - checking referenced series sequence\n"
       "Invalid object name CT9; contains no dot ('.')\n"
       "Could not get SOP class UID for CT9 referenced in annotations - excluding from output\n"},
      {"other slashes and underscores",
       "l\\ID+a_b/CT.1_/.2.3_4\\" + id + "5%0A",
       {nullptr, "5"},
       "File CT.1_/.2.3 was not found in the database - checking referenced series sequence\n"
       "Could not get SOP class UID for CT.1_/.2.3 referenced in annotations - excluding from output\n"},
      {"the state's own references",
       "l\\ID+/X.1.2.4_2",
       {"2"},
       "File X.1.2.4 was not found in the database - checking referenced series sequence\n"},
      {"an empty frame", "l\\" + id, {""}, ""},
  };
  for (const auto& [name, text, frames, error] : rows)
  {
    SCOPED_TRACE(name);
    const Outcome outcome = convert(text);
    EXPECT_TRUE(outcome.good);
    EXPECT_EQ(error, outcome.error);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < frames.size(); ++i)
      if (frames[i])
      {
        names.push_back("PR.1.2.826.0.1.7770001.2.11.7." + std::to_string(i + 1) + ".123.45");
        EXPECT_NE(std::string::npos, describeOutput({DCM_ReferencedSeriesSequence}, names.back())
                                         .find("ReferencedFrameNumber:IS=" + std::string(frames[i]) + "}"));
        EXPECT_EQ("InstanceNumber:IS=" + std::to_string(18501 + i), describeOutput({DCM_InstanceNumber}, names.back()));
      }
    EXPECT_EQ(names, outputNames());
    for (const std::string& made : names)
      std::filesystem::remove(prefix + made);
  }
}

TEST_F(PluginStateTest, ALineWithoutOutputObjectIsRefused)
{
  const std::string open = "There is no Presentation State object to update\nparseFigure returns false\n";
  const std::pair<const char*, const char*> rows[] = {
      {"light 1 -2 3 0", "LIGHT arguments: 4\nwindow: 1\nlevel: -2\ninverted: 3\ngrayscale: 0\n"},
      {"sized 1 2 3 4", "SIZED arguments: 4\nsize: 1 2\nzoom: 3\norientation: 4\n"},
      {"pixel 1.5 2", "PIXEL arguments: 2\npixelX: 1.5\npixelY: 2\n"},
      {"clip 1.5 1 2 3 4", "CLIP arguments: 5\nzoom X: 1.5\nzoom Y: 1.5\npos X: 1\npos Y: 2\nsize X: 3\nsize Y: 4\n"},
      {"free_x 1|1", ""},
  };
  for (const auto& [line, trace] : rows)
  {
    const Capture said;
    PSConverter converter(*db, inputPath, prefix, 0, true);
    EXPECT_FALSE(converter.parseFigure(line));
    EXPECT_EQ(open, said.error.str());
    EXPECT_EQ(" -------- Figure ----------- \n" + std::string(line) + "\n ------ End Figure --------- \n" + trace,
              said.out.str());
  }
}

TEST_F(PluginStateTest, DebugTellsTheWholeWay)
{
  const Outcome outcome = convert("a+label\\ID+1.2/CT.1.2.3_7%0Asized+1+2+3+5", 0, true);
  EXPECT_EQ("", outcome.error);
  const std::string parts[] = {
      "\n ======= PBPluginState[ 42 ] =========\na+label\\ID+1.2/CT.1.2.3_7%0Asized+1+2+3+5\n"
      " ====== END PluginState ========\nPresentation State Label: a+label\n -------- Figure ----------- \n"
      "ID 1.2/CT.1.2.3_7\nsized 1 2 3 5\n ------ End Figure --------- \n"
      "Referenced Series Instance UID: 1.2.30\nReferenced SOP Class UID: 1.2.840.10008.5.1.4.1.1.2\n"
      "Referenced SOP Instance UID: 1.2.3\nReferenced Frame Number: 7\nSIZED arguments: 4\nsize: 1 2\nzoom: 3\n"
      "orientation: 5\n Rotation: 90\n Horizontal Flip: true\n ===== Result PS PR.",
      "\nparseFigure returns true\nparsePluginState returns true\n"};
  for (const std::string& part : parts)
    EXPECT_NE(std::string::npos, outcome.out.find(part)) << part << "\nin\n" << outcome.out;
}

} // namespace
