#include "tests/support/StateFixture.h"

#include "converter/PSConverter.h"

#include <gmock/gmock.h>

#include <tuple>

using namespace impsconverter;

namespace
{

using PluginStateTest = StateFixture;

const std::string kNowhere = "File CT.9 was not found in the database - checking referenced series sequence\n"
                             "Could not get SOP class UID for CT.9 referenced in annotations - excluding from output\n";

TEST_F(PluginStateTest, RefusesATextWithOneLineALevel)
{
  const std::string none = "Plugin State contains no figure\n", shortOne = "Figure is too short\n";
  const std::string prefixed = "Figure starts with an invalid prefix\n";
  const std::string slash = "Invalid ID in figure - contains no slash ('/')\n" + kFigureFailed;
  const std::string underscore = "Invalid ID in figure - contains no underscore ('_')\n" + kFigureFailed;
  const std::tuple<std::string, std::string, std::size_t> rows[] = {
      {"", none, 0},
      {"label", none, 0},
      {std::string("label\0\\ID+1/2_3", 15), none, 0},
      {"label\\", shortOne, 0},
      {"label\\ID+1.2/CT.1.2.3_1\\", shortOne, 1},
      {"label\\\\ID+1/2_3", shortOne, 0},
      {"label\\ID", shortOne, 0},
      {"label\\id+1/2_3", prefixed, 0},
      {"label\\ID%201/2_3", prefixed, 0},
      {"label\\ID+12_3", slash, 0},
      {"label\\ID+1/23", underscore, 0},
      {"label\\ID+1_2/3", underscore, 0},
      {"label\\ID+1.2/CT.1.2.3_1%0AID+1", slash, 1},
      {"l\\ID+1.2/CT.9_1%0Alight+1", kNowhere + "Invalid number of arguments for 'light': 1\n" + kFigureFailed, 0},
  };
  for (const auto& [text, error, saved] : rows)
  {
    SCOPED_TRACE(text);
    const Outcome outcome = convert(text);
    EXPECT_FALSE(outcome.good);
    EXPECT_EQ(error, outcome.error);
    EXPECT_EQ(saved, outputNames().size()) << "what was complete stays";
    std::filesystem::remove(prefix + kFirstName);
  }
}

TEST_F(PluginStateTest, RefusesALine)
{
  const std::string few = "Invalid number of ", view = few + "arguments for ";
  const std::string common = few + "common annotation arguments for ";
  const std::string specific = few + "annotation specific arguments for ";
  const std::string free = " a free_x annotation failed", range = free + ": Numerical result out of range";
  const std::string c = "_x 1 red 10 20 1 1 0 0 100 100 0|"; // followed by the parameters of the kind
  const std::pair<std::string, std::string> rows[] = {
      {"light 1 2 3", view + "'light': 3"},
      {"light ", view + "'light': -1"},
      {"light a b", view + "'light': 0"},
      {"sized 1 2 3", view + "'sized': 3"},
      {"pixel 1,5 2", view + "'pixel': 1"},
      {"clip 2 0 0 5", view + "'pixel': 4"},
      {"sized 1 1 0 8", "Invalid image orientation: 8"},
      {"sized 1 1 0 -1", "Invalid image orientation: -1"},
      {"ruler_x 1 red", "Invalid annotation line, contains no pipe: ruler_x 1 red"},
      {"ruler_x 1 red 10 20 1 1 0 0|30 40 a 1", common + "ruler_x: 8"},
      {"text_x red|0 a", common + "text_x: 0"},
      {"ruler" + c + "30 40 a", specific + "ruler_x: 3"},
      {"ruler" + c, specific + "ruler_x: -1"},
      {"oval" + c + "1 2", specific + "oval_x: 2"},
      {"skewoval" + c + "   ", specific + "skewoval_x: -1"},
      {"skewhouns" + c + "1 b", specific + "skewhouns_x: 1"},
      {"spinelabel" + c + "1 2 3 4 a", specific + "spinelabel_x: 5"},
      {"free" + c + "2147483648 1 2 a", "Parsing number of vertices in" + range},
      {"free" + c + "65535 1 2 a", "Incorrect number of vertices in" + free + ": 65535"},
      {"free" + c + "1 2147483648 2 a", "Parsing X coordinate from" + range},
      {"free" + c + "1 1 -2147483649 a", "Parsing Y coordinate from" + range},
      {"free" + c + "1 1 2", "Parsing label from" + free},
      {"free" + c + "65534 1 2" + std::string(4000000, ' '), "Parsing label from" + free}, // in no time
  };
  for (const auto& [line, error] : rows)
  {
    SCOPED_TRACE(line.substr(0, 80));
    EXPECT_EQ(error + "\n" + kFigureFailed, convert(figureOf({line})).error);
    EXPECT_TRUE(outputNames().empty());
  }
}

// The sample states show the rest: the orientations and the usual lines.
TEST_F(PluginStateTest, ViewLinesReadBack)
{
  const auto area = [](const std::string& items) { return "DisplayedAreaSelectionSequence{" + items + "}"; };
  const auto sized = [&](const std::string& mode, const char* corner = "512\\256", const char* rotation = "0")
  {
    return std::string("ImageHorizontalFlip:CS=N ImageRotation:US=") + rotation + " " +
           area("DisplayedAreaTopLeftHandCorner:SL=1\\1 DisplayedAreaBottomRightHandCorner:SL=" + std::string(corner) +
                " PresentationSizeMode:CS=" + mode);
  };
  const std::pair<std::vector<std::string>, std::string> rows[] = {
      {{}, area("")},
      {{"sized 512 256 3 0"}, sized("SCALE TO FIT")},
      {{"sized 512 256 -7 0 and more"}, sized("SCALE TO FIT")},
      {{"sized -2147483648 2147483647 1 0"}, sized("SCALE TO FIT", "-2147483648\\2147483647")},
      {{"sized 512 256 1 0", "sized 9 9 0 1"},
       "Displayed Area Top Left Hand Corner element could not be inserted to Displayed Area Selection Item: "
       "Doubled tag\n" +
           sized("MAGNIFY", "512\\256", "90")},
      {{"sized 512 256 0 0", "clip 2.5 0 0 5 6"}, sized("MAGNIFY PresentationPixelMagnificationRatio:FL=2.5")},
      {{"clip 2 0 0 5 6", "sized 512 256 0 0"}, sized("MAGNIFY")},
      {{"pixel 1.5 0.25", "pixel 0.75 1e-3"}, area("PresentationPixelSpacing:DS=0.75\\0.001")},
      {{"light -2147483648 1 -1 0"},
       "SoftcopyVOILUTSequence{WindowCenter:DS=1 WindowWidth:DS=-2147483648} " + area("") +
           " PresentationLUTShape:CS=INVERSE"},
      {{"", " light 1", "Light 1", "light", "lights 1", "ruler_x", "oval_xx 1", "\xff"}, area("")},
  };
  for (const auto& [lines, expected] : rows)
  {
    const Outcome outcome = convert(figureOf(lines));
    EXPECT_TRUE(outcome.good);
    EXPECT_EQ(expected, outcome.error + describeOutput({DCM_ImageHorizontalFlip, DCM_ImageRotation,
                                                        DCM_DisplayedAreaSelectionSequence, DCM_PresentationLUTShape,
                                                        DCM_SoftcopyVOILUTSequence}))
        << testing::PrintToString(lines);
  }
}

TEST_F(PluginStateTest, EachIdLineIsAnOutput)
{
  const std::string id = "ID+1.2/CT.1.2.3_";
  const std::string seek = " was not found in the database - checking referenced series sequence\n";
  const auto lost = [](const std::string& name)
  { return "Could not get SOP class UID for " + name + " referenced in annotations - excluding from output\n"; };
  // made: of each output the number in its UID, its instance number and frame
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {id + "1%0A" + id + "2%0A" + id + "3", "1 18501 1; 2 18502 2; 3 18503 3; ", ""},
      {id + "1\\" + id + "2\\" + id + "3", "1 18501 1; 2 18502 2; 3 18503 3; ", ""},
      {id + "1\\ID+1.2/CT.9_1%0Apixel+1+1\\" + id + "3", "1 18501 1; 3 18503 3; ", kNowhere},
      {"ID+x/CT9_1\\" + id + "2", "2 18502 2; ",
       "File CT9" + seek + "Invalid object name CT9; contains no dot ('.')\n" + lost("CT9")},
      {"ID+a_b/CT.1_/.2.3_4\\" + id + "5%0A", "2 18502 5; ", "File CT.1_/.2.3" + seek + lost("CT.1_/.2.3")},
      {"ID+/X.1.2.4_2", "1 18501 2; ", "File X.1.2.4" + seek}, // the state's own references
      {id, "1 18501 ; ", ""},
  };
  for (const auto& [figures, made, error] : rows)
  {
    SCOPED_TRACE(figures);
    const Outcome outcome = convert("l\\" + figures);
    EXPECT_TRUE(outcome.good);
    EXPECT_EQ(error, outcome.error);
    std::string found;
    for (const std::string& name : outputNames())
    {
      found += name.substr(sizeof "PR.1.2.826.0.1.7770001.2.11.7." - 1, 1) + " " +
               valuesIn({DCM_InstanceNumber}, name) + " " + valuesIn({DCM_ReferencedFrameNumber}, name) + "; ";
      std::filesystem::remove(prefix + name);
    }
    EXPECT_EQ(made, found);
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

TEST_F(PluginStateTest, DebugTellsTheWholeWay)
{
  const std::string c = " 1 red 2 3 1 0 4 5 6 7 8|";
  const std::pair<std::string, std::string> rows[] = {
      {"light 1 -2 3 0", "LIGHT arguments: 4\nwindow: 1\nlevel: -2\ninverted: 3\ngrayscale: 0\n"},
      {"sized 1 2 3 5",
       "SIZED arguments: 4\nsize: 1 2\nzoom: 3\norientation: 5\n Rotation: 90\n Horizontal Flip: true\n"},
      {"pixel 1.5 2", "PIXEL arguments: 2\npixelX: 1.5\npixelY: 2\n"},
      {"clip 1.5 1 2 3 4", "CLIP arguments: 5\nzoom X: 1.5\nzoom Y: 1.5\npos X: 1\npos Y: 2\nsize X: 3\nsize Y: 4\n"},
      {"ruler_x" + c + "1 2 a+b 2",
       "Annotation Type: [ruler_x]\nCommon Parameters: [1 red 2 3 1 0 4 5 6 7 8]\nSpecific Parameters: [1 2 a+b 2]\n"
       "Annotation Common arguments: 11\n Index: 1\n Color: red\n Show Index: true\n Show Value: false\n"
       " Base X: 2\n Base Y: 3\n Index Anchor X: 4\n Index Anchor Y: 5\n Value Anchor X: 6\n Value Anchor Y: 7\n"
       " Orientation: 8\nRuler arguments: 4\n End X: 1\n End Y: 2\n Label: a b\n Show Tick Marks: true\n"},
      {"angle_x" + c + "1 2 3 4 a",
       "Angle arguments: 5\n Ray 1 X: 1\n Ray 1 Y: 2\n Ray 2 X: 3\n Ray 2 Y: 4\n Label: a\n Mode: \n"},
      {"cobangle_x" + c + "1 2 3 4 5 6 a 7 8 9 e%78",
       "Cobb Angle arguments: 11\n End X: 3\n End Y: 4\n Ray Base X: 1\n Ray Base Y: 2\n Ray End X: 5\n Ray End Y: 6\n"
       " Label: a\n Mode: e%78\n"},
      {"skewoval_x" + c + "-1 2 a 30.5 1",
       "Oval(skewoval_x)\n Size X: 1\n Size Y: 2\n Rotation: 30.5\n Label: \"a\"\n Show Center: true\n"},
      {"free_x" + c + "2 1 2 3 4 a",
       "FreeHand arguments: \n Count of vertices: 2\n Vertex[0]: {1, 2}\n Vertex[1]: {3, 4}\n Label: a\n"},
      {"freepointer_x" + c + "1 2", "Pointer arguments: 2\n End X: 1\n End Y: 2\n"},
      {"text_x" + c + "1 a", "Text arguments: 2\n Label: a\n"},
      {"spinelabel_x" + c + "1 2 3 4 a 5", "SpineLabel arguments: 6\n Label: a\n"},
  };
  std::vector<std::string> lines;
  for (const auto& row : rows)
    lines.push_back(row.first);
  const std::string text = figureOf(lines);
  const std::string out = convert(text, 0, true).out;
  for (const auto& row : rows)
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
