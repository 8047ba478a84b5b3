#include "tests/support/StateFixture.h"

#include "converter/PSConverter.h"

#include <gmock/gmock.h>

using namespace impsconverter;

namespace
{

using PluginStateTest = StateFixture;

const std::string kSeek = " was not found in the database - checking referenced series sequence\n";
std::string lost(const std::string& name)
{
  return "Could not get SOP class UID for " + name + " referenced in annotations - excluding from output\n";
}
const std::string kNowhere = "File CT.9" + kSeek + lost("CT.9");

const std::string kNone = "Plugin State contains no figure\n", kShort = "Figure is too short\n";
const std::string kPrefixed = "Figure starts with an invalid prefix\n";
const std::string kSlash = "Invalid ID in figure - contains no slash ('/')\n" + kFigureFailed;
const std::string kUnderscore = "Invalid ID in figure - contains no underscore ('_')\n" + kFigureFailed;
const struct
{
  std::string text, error;
  std::size_t saved = 0; ///< what was complete stays
} kRefusedTexts[] = {
    {"", kNone},
    {std::string("label\0\\ID+1/2_3", 15), kNone},
    {"label\\ID+1.2/CT.1.2.3_1\\", kShort, 1},
    {"label\\\\ID+1/2_3", kShort},
    {"label\\ID", kShort},
    {"label\\id+1/2_3", kPrefixed},
    {"label\\ID%201/2_3", kPrefixed},
    {"label\\ID+12_3", kSlash},
    {"label\\ID+1_2/3", kUnderscore},
    {"label\\ID+1.2/CT.1.2.3_1%0AID+1", kSlash, 1},
    {"l\\ID+1.2/CT.9_1%0Alight+1", kNowhere + "Invalid number of arguments for 'light': 1\n" + kFigureFailed},
};

TEST_F(PluginStateTest, RefusesATextWithOneLineALevel)
{
  for (const auto& row : kRefusedTexts)
  {
    SCOPED_TRACE(row.text);
    const Outcome outcome = convert(row.text);
    EXPECT_FALSE(outcome.good);
    EXPECT_EQ(row.error, outcome.error);
    EXPECT_EQ(row.saved, outputNames().size());
    std::filesystem::remove(prefix + kFirstName);
  }
}

const std::string kFew = "Invalid number of ", kView = kFew + "arguments for ";
const std::string kCommon = kFew + "common annotation arguments for ";
const std::string kSpecific = kFew + "annotation specific arguments for ";
const std::string kFree = " a free_x annotation failed", kRange = kFree + ": Numerical result out of range";
const std::string kC = "_x 1 red 10 20 1 1 0 0 100 100 0|"; // followed by the parameters of the kind
const std::pair<std::string, std::string> kRefusedLines[] = {
    {"light 1 2 3", kView + "'light': 3"},
    {"light ", kView + "'light': -1"},
    {"sized 1 2 3", kView + "'sized': 3"},
    {"pixel 1,5 2", kView + "'pixel': 1"},
    {"clip 2 0 0 5", kView + "'pixel': 4"},
    {"sized 1 1 0 8", "Invalid image orientation: 8"},
    {"sized 1 1 0 -1", "Invalid image orientation: -1"},
    {"ruler_x 1 red", "Invalid annotation line, contains no pipe: ruler_x 1 red"},
    {"ruler_x 1 red 10 20 1 1 0 0|30 40 a 1", kCommon + "ruler_x: 8"},
    {"ruler" + kC + "30 40 a", kSpecific + "ruler_x: 3"},
    {"oval" + kC + "1 2", kSpecific + "oval_x: 2"},
    {"skewhouns" + kC + "1 b", kSpecific + "skewhouns_x: 1"},
    {"spinelabel" + kC + "1 2 3 4 a", kSpecific + "spinelabel_x: 5"},
    {"free" + kC + "2147483648 1 2 a", "Parsing number of vertices in" + kRange},
    {"free" + kC + "65535 1 2 a", "Incorrect number of vertices in" + kFree + ": 65535"},
    {"free" + kC + "1 2147483648 2 a", "Parsing X coordinate from" + kRange},
    {"free" + kC + "1 1 -2147483649 a", "Parsing Y coordinate from" + kRange},
    {"free" + kC + "1 1 2", "Parsing label from" + kFree},
    {"free" + kC + "65534 1 2" + std::string(4000000, ' '), "Parsing label from" + kFree}, // in no time
};

TEST_F(PluginStateTest, RefusesALine)
{
  for (const auto& [line, error] : kRefusedLines)
  {
    SCOPED_TRACE(line.substr(0, 80));
    EXPECT_EQ(error + "\n" + kFigureFailed, convert(figureOf({line})).error);
    EXPECT_TRUE(outputNames().empty());
  }
}

// The sample states show the rest: the orientations and the usual lines.
struct View
{
  const char* fact;
  std::vector<std::string> lines;
  DcmTagKey tag; ///< what of the output shows it
  std::string value;
  std::string error = {};
};

const std::string kTwice = "Displayed Area Top Left Hand Corner element could not be inserted to Displayed Area "
                           "Selection Item: Doubled tag\n";
const DcmTagKey &kCorner = DCM_DisplayedAreaBottomRightHandCorner, &kMode = DCM_PresentationSizeMode;
const View kViews[] = {
    {"no line, no mode", {}, kMode, ""},
    {"an unknown mode", {"sized 512 256 3 0"}, kMode, "SCALE TO FIT"},
    {"a negative mode, and more fields", {"sized 512 256 -7 0 and more"}, kMode, "SCALE TO FIT"},
    {"the ends of 32 bits", {"sized -2147483648 2147483647 1 0"}, kCorner, "-2147483648\\2147483647"},
    {"the second size does not count", {"sized 512 256 1 0", "sized 9 9 0 1"}, kCorner, "512\\256", kTwice},
    {"the second orientation counts", {"sized 512 256 1 0", "sized 9 9 0 1"}, DCM_ImageRotation, "90", kTwice},
    {"the second mode counts", {"sized 512 256 1 0", "sized 9 9 0 1"}, kMode, "MAGNIFY", kTwice},
    {"a clip magnifies", {"sized 5 6 0 0", "clip 2.5 0 0 5 6"}, DCM_PresentationPixelMagnificationRatio, "2.5"},
    {"a clip before the mode", {"clip 2 0 0 5 6", "sized 5 6 0 0"}, DCM_PresentationPixelMagnificationRatio, ""},
    {"the last spacing", {"pixel 1.5 0.25", "pixel 0.75 1e-3"}, DCM_PresentationPixelSpacing, "0.75\\0.001"},
    {"a window may be negative", {"light -2147483648 1 0 0"}, DCM_WindowWidth, "-2147483648"},
    {"any number inverts", {"light 1 1 -1 0"}, DCM_PresentationLUTShape, "INVERSE"},
    {"unknown lines", {"", " light 1", "Light 1", "light", "lights 1", "ruler_x", "oval_xx 1", "\xff"}, kMode, ""},
};

TEST_F(PluginStateTest, ViewLinesReadBack)
{
  for (const View& row : kViews)
  {
    const Outcome outcome = convert(figureOf(row.lines));
    EXPECT_TRUE(outcome.good);
    EXPECT_EQ(row.error, outcome.error) << row.fact;
    EXPECT_EQ(row.value, valuesIn({row.tag})) << row.fact;
  }
}

const std::string kId = "ID+1.2/CT.1.2.3_";
const struct
{
  std::string figures;
  std::string made; ///< of each output the number in its UID, its instance number and frame
  std::string error = {};
} kOutputs[] = {
    {kId + "1%0A" + kId + "2%0A" + kId + "3", "1 18501 1; 2 18502 2; 3 18503 3; "},
    {kId + "1\\" + kId + "2\\" + kId + "3", "1 18501 1; 2 18502 2; 3 18503 3; "},
    {kId + "1\\ID+1.2/CT.9_1%0Apixel+1+1\\" + kId + "3", "1 18501 1; 3 18503 3; ", kNowhere},
    {"ID+x/CT9_1\\" + kId + "2", "2 18502 2; ",
     "File CT9" + kSeek + "Invalid object name CT9; contains no dot ('.')\n" + lost("CT9")},
    {"ID+a_b/CT.1_/.2.3_4\\" + kId + "5%0A", "2 18502 5; ", "File CT.1_/.2.3" + kSeek + lost("CT.1_/.2.3")},
    {"ID+/X.1.2.4_2", "1 18501 2; ", "File X.1.2.4" + kSeek}, // the state's own references
    {kId, "1 18501 ; "},
};

TEST_F(PluginStateTest, EachIdLineIsAnOutput)
{
  for (const auto& row : kOutputs)
  {
    SCOPED_TRACE(row.figures);
    const Outcome outcome = convert("l\\" + row.figures);
    EXPECT_TRUE(outcome.good);
    EXPECT_EQ(row.error, outcome.error);
    std::string found;
    for (const std::string& name : outputNames())
    {
      found += name.substr(sizeof "PR.1.2.826.0.1.7770001.2.11.7." - 1, 1) + " " +
               valuesIn({DCM_InstanceNumber}, name) + " " + valuesIn({DCM_ReferencedFrameNumber}, name) + "; ";
      std::filesystem::remove(prefix + name);
    }
    EXPECT_EQ(row.made, found);
  }
}

TEST_F(PluginStateTest, ALineWithoutOutputObjectIsRefused)
{
  for (const char* line : {"light 1 2 3 0", "free_x 1|1"})
  {
    const Capture said;
    EXPECT_FALSE(PSConverter(*db, inputPath, prefix, 0, false).parseFigure(line));
    EXPECT_EQ("There is no Presentation State object to update\nparseFigure returns false\n", said.error.str());
  }
}

const std::string kOf = " 1 red 2 3 1 0 4 5 6 7 8|";
const std::pair<std::string, std::string> kTraced[] = {
    {"light 1 -2 3 0", "LIGHT arguments: 4\nwindow: 1\nlevel: -2\ninverted: 3\ngrayscale: 0\n"},
    {"sized 1 2 3 5",
     "SIZED arguments: 4\nsize: 1 2\nzoom: 3\norientation: 5\n Rotation: 90\n Horizontal Flip: true\n"},
    {"pixel 1.5 2", "PIXEL arguments: 2\npixelX: 1.5\npixelY: 2\n"},
    {"clip 1.5 1 2 3 4", "CLIP arguments: 5\nzoom X: 1.5\nzoom Y: 1.5\npos X: 1\npos Y: 2\nsize X: 3\nsize Y: 4\n"},
    {"ruler_x" + kOf + "1 2 a+b 2",
     "Annotation Type: [ruler_x]\nCommon Parameters: [1 red 2 3 1 0 4 5 6 7 8]\nSpecific Parameters: [1 2 a+b 2]\n"
     "Annotation Common arguments: 11\n Index: 1\n Color: red\n Show Index: true\n Show Value: false\n"
     " Base X: 2\n Base Y: 3\n Index Anchor X: 4\n Index Anchor Y: 5\n Value Anchor X: 6\n Value Anchor Y: 7\n"
     " Orientation: 8\nRuler arguments: 4\n End X: 1\n End Y: 2\n Label: a b\n Show Tick Marks: true\n"},
    {"angle_x" + kOf + "1 2 3 4 a",
     "Angle arguments: 5\n Ray 1 X: 1\n Ray 1 Y: 2\n Ray 2 X: 3\n Ray 2 Y: 4\n Label: a\n Mode: \n"},
    {"cobangle_x" + kOf + "1 2 3 4 5 6 a 7 8 9 e%78",
     "Cobb Angle arguments: 11\n End X: 3\n End Y: 4\n Ray Base X: 1\n Ray Base Y: 2\n Ray End X: 5\n Ray End Y: 6\n"
     " Label: a\n Mode: e%78\n"},
    {"skewoval_x" + kOf + "-1 2 a 30.5 1",
     "Oval(skewoval_x)\n Size X: 1\n Size Y: 2\n Rotation: 30.5\n Label: \"a\"\n Show Center: true\n"},
    {"free_x" + kOf + "2 1 2 3 4 a",
     "FreeHand arguments: \n Count of vertices: 2\n Vertex[0]: {1, 2}\n Vertex[1]: {3, 4}\n Label: a\n"},
    {"freepointer_x" + kOf + "1 2", "Pointer arguments: 2\n End X: 1\n End Y: 2\n"},
    {"text_x" + kOf + "1 a", "Text arguments: 2\n Label: a\n"},
    {"spinelabel_x" + kOf + "1 2 3 4 a 5", "SpineLabel arguments: 6\n Label: a\n"},
};

TEST_F(PluginStateTest, DebugTellsTheWholeWay)
{
  std::vector<std::string> lines;
  for (const auto& row : kTraced)
    lines.push_back(row.first);
  const std::string text = figureOf(lines);
  const std::string out = convert(text, 0, true).out;
  for (const auto& row : kTraced)
    EXPECT_THAT(out, testing::HasSubstr(row.second));
  EXPECT_THAT(out, testing::HasSubstr("\n ======= PBPluginState[ " + std::to_string(text.size() + text.size() % 2) +
                                      " ] =========\n" + text +
                                      "\n ====== END PluginState ========\nPresentation State Label: label\n" +
                                      " -------- Figure ----------- \nID 1.2/CT.1.2.3_1\nlight 1 -2 3 0\n"));
  EXPECT_THAT(out, testing::HasSubstr("\n ------ End Figure --------- \nReferenced Series Instance UID: 1.2.30\n"
                                      "Referenced SOP Class UID: 1.2.840.10008.5.1.4.1.1.2\n"
                                      "Referenced SOP Instance UID: 1.2.3\nReferenced Frame Number: 1\n"));
  EXPECT_THAT(out, testing::EndsWith("\nparseFigure returns true\nparsePluginState returns true\n"));
}

} // namespace
