#include "StateFixture.h"
#include "ToolkitFault.h"

#include "DicomCieLab.h"
#include "ObjectInfo.h"
#include "ValidPresentationState.h"
#include "angle.h"
#include "cobbangle.h"
#include "freehand.h"
#include "oval.h"
#include "pointer.h"
#include "ruler.h"
#include "spinelabel.h"
#include "text.h"

#include <dcmtk/dcmiod/cielabutil.h>

#include <functional>
#include <tuple>

using namespace impsconverter;

namespace
{

using Make = std::unique_ptr<Annotation> (*)(ValidPresentationState*);
template <class Kind>
std::unique_ptr<Annotation> make(ValidPresentationState* state)
{
  return std::make_unique<Kind>(state);
}

// What the elements of the three primitives look like when they are read back.
std::string graphic(const std::string& type, int count, const std::string& points, const std::string& more = "")
{
  return "{GraphicAnnotationUnits:CS=PIXEL GraphicDimensions:US=2 NumberOfGraphicPoints:US=" + std::to_string(count) +
         " GraphicData:FL=" + points + " GraphicType:CS=" + type + more + "}";
}
std::string polyline(int count, const std::string& points)
{
  return graphic("POLYLINE", count, points);
}
std::string dashed(const std::string& points)
{
  return graphic("POLYLINE", 2, points,
                 " LineStyleSequence{PatternOnColorCIELabValue:US=7748\\33068\\32608 LineDashingStyle:CS=DASHED "
                 "LinePattern:UL=3855 PatternOnOpacity:FL=0.300000012 PatternOffOpacity:FL=1}");
}
std::string ellipse(const std::string& points, const std::string& id)
{
  return graphic("ELLIPSE", 4, points, " CompoundGraphicInstanceID:UL=" + id);
}
std::string text(const std::string& value, const std::string& anchor, const std::string& topLeft,
                 const std::string& bottomRight, const std::string& justification)
{
  return "{BoundingBoxAnnotationUnits:CS=PIXEL AnchorPointAnnotationUnits:CS=PIXEL UnformattedTextValue:ST=" + value +
         " BoundingBoxTopLeftHandCorner:FL=" + topLeft + " BoundingBoxBottomRightHandCorner:FL=" + bottomRight +
         " BoundingBoxTextHorizontalJustification:CS=" + justification + " AnchorPoint:FL=" + anchor +
         " AnchorPointVisibility:CS=N}";
}

class AnnotationTest : public StateFixture
{
protected:
  /// An output object that annotations can be written into.
  std::unique_ptr<ValidPresentationState> opened(bool debug = false) const
  {
    const auto file = state("");
    file->getDataset()->updateOriginalXfer();
    auto result = std::make_unique<ValidPresentationState>(file->getDataset(), "1.9", 1, debug);
    EXPECT_TRUE(result->setImageReferences(ObjectInfo("1.2", "CT.1.2.3"), "1"));
    EXPECT_TRUE(result->checkAndCreateAnnotationLayer());
    return result;
  }
};

TEST_F(AnnotationTest, SimpleFormsAndTextsReadBack)
{
  const std::string shown = " 1 red 10 20 1 1 0 0 100 100 0|";
  const std::string hidden = " 1 red 10 20 1 0 0 0 100 100 0|";
  const std::string letter = text("a", "100\\100", "96\\90", "104\\110", "CENTER");
  const std::string ruled = polyline(2, "10\\20\\30\\40"), angled = polyline(3, "10\\10\\30\\30\\50\\10");
  const std::string low = "-2.14748365e+09", high = "2.14748365e+09"; // the ends of 32 bits as floats
  const std::string longest(512, 'a');
  // The sample states show the usual ones.
  const std::tuple<const char*, std::string, std::string, std::string> rows[] = {
      {"a ruler without value", "ruler_x" + hidden + "30 40 a 1", ruled, ""},
      {"nine common fields", "ruler_x 1 red 10 20 1 1 0 0 100|30 40 a 0", ruled,
       text("a", "100\\0", "96\\-10", "104\\10", "CENTER")},
      {"a label of 512 and a number at once", "ruler_x" + shown + "30 40 " + longest + "1", ruled,
       text(longest, "100\\100", "-1948\\90", "2148\\110", "CENTER")},
      {"another mode", "angle_x 1 red 30 30 1 1 0 0 100 100 0|10 10 50 10 a EX", angled, letter},
      {"an angle at the ends", "angle_x 1 red -2147483648 0 1 0 0 0 0|2147483647 1 2147483647 1 a ex",
       polyline(3, high + "\\1\\" + low + "\\0\\" + high + "\\1") + dashed(low + "\\0\\" + low + "\\-1"), ""},
      {"a Cobb label tied to both lines, ten fields", "cobangle_x" + shown + "0 0 30 40 8 6 a 0 0 ex",
       ruled + polyline(2, "0\\0\\8\\6") + dashed("20\\30\\100\\100") + dashed("4\\3\\100\\100"), letter},
      {"a midpoint that wraps", "cobangle_x 1 red 2147483647 0 1 0 0 0 0|0 0 2147483647 0 0 0 a",
       polyline(2, high + "\\0\\" + high + "\\0") + polyline(2, "0\\0\\0\\0") + dashed("-1\\0\\0\\0"), ""},
      {"a quarter turn", "skewoval_x 7 red 100 100 1 1 0 0 100 100 0|20 10 a 90 1",
       ellipse("100\\120\\100\\80\\90\\100\\110\\100", "7"), letter},
      {"single precision before the sine", "skewoval_x 7 red 0 0 1 0 0 0 0|1000 1000 a 0.1",
       ellipse("999.998474\\1.74532843\\-999.998474\\-1.74532843\\-1.74530172\\999.998474\\1.74530172\\-999.998474",
               "7"),
       ""},
      {"measured values do not show", "houns_x -1 red 100 100 1 0 0 0 0|20 10 a -800.5 30 1",
       ellipse("120\\100\\80\\100\\100\\110\\100\\90", "4294967295"), ""},
      {"the size without absolute value", "oval_x 7 red 2147483647 0 1 0 0 0 0|-2147483648 0 a",
       ellipse("0\\0\\4.2949673e+09\\0\\" + high + "\\0\\" + high + "\\0", "7"), ""},
      {"missing numbers are zero", "free_x" + shown + "3 5 6 a", polyline(4, "5\\6\\0\\0\\0\\0\\5\\6"), letter},
      {"an arrow straight down", "freepointer_x 1 red 100 100 1 1 0 0 0|100 140",
       polyline(2, "100\\100\\100\\140") + polyline(3, "108\\108\\100\\100\\92\\108"), ""},
      {"an arrow across 32 bits", "freepointer_x 1 red -2147483648 0 1 1 0 0 0|2147483647 0",
       polyline(2, low + "\\0\\" + high + "\\0") + polyline(3, high + "\\8\\" + low + "\\0\\" + high + "\\-8"), ""},
      {"a longer label is cut, shown always", "text_x" + hidden + "0 " + longest + "b", "",
       text(longest, "10\\20", "10\\20", "4106\\40", "LEFT")},
  };
  for (const auto& [name, line, graphics, texts] : rows)
  {
    SCOPED_TRACE(name);
    const Outcome outcome = convert(figureOf({line}));
    EXPECT_TRUE(outcome.good);
    EXPECT_EQ("", outcome.error);
    EXPECT_EQ("", outcome.out);
    EXPECT_EQ("GraphicLayerSequence{GraphicLayer:CS=ANNLAYER1 GraphicLayerOrder:IS=1}",
              describeOutput({DCM_GraphicLayerSequence}));
    EXPECT_EQ("GraphicAnnotationSequence{GraphicLayer:CS=ANNLAYER1" +
                  (texts.empty() ? "" : " TextObjectSequence" + texts) +
                  (graphics.empty() ? "" : " GraphicObjectSequence" + graphics) + "}",
              describeOutput({DCM_GraphicAnnotationSequence}));
  }
}

TEST_F(AnnotationTest, CompoundFormsReadBack)
{
  const std::string common = "x 3 red 10 20 1 1 0 0 100 100 0|";
  const std::string id = " CompoundGraphicInstanceID:UL=3";
  const auto graphic = [](int count, const std::string& points, const std::string& rest)
  {
    return "CompoundGraphicSequence{GraphicDimensions:US=2 NumberOfGraphicPoints:US=" + std::to_string(count) +
           " GraphicData:FL=" + points + " GraphicType:CS=" + rest + " CompoundGraphicUnits:CS=PIXEL}";
  };
  const std::string ticks = " TickAlignment:CS=CENTER ShowTickLabel:CS=N TickLabelAlignment:CS=BOTTOM";
  const std::string turn = " RotationAngle:FD=-30.100000381469727 RotationPoint:FL=10\\20";
  const std::string box = "5\\14\\15\\26", oval = "ELLIPSE GraphicFilled:CS=N" + id;
  // expected: nothing for kinds without a compound form
  // laterId: what graphics carry that are added afterwards
  const std::tuple<const char*, Make, std::string, std::string, const char*> rows[] = {
      {"a ruler", make<Ruler>, "30 40 a 1", graphic(2, "10\\20\\30\\40", "RULER" + id + ticks), ""},
      {"a range line", make<Ruler>, "30 40 a 0", graphic(2, "10\\20\\30\\40", "RANGELINE" + id), ""},
      {"an angle without its extension", make<Angle>, "1 2 3 4 a ex",
       graphic(4, "10\\20\\1\\2\\10\\20\\3\\4", "MULTILINE" + id), id.c_str()},
      {"an arrow from tail to tip", make<Pointer>, "30 40", graphic(2, "30\\40\\10\\20", "ARROW" + id), id.c_str()},
      {"an oval's box", make<Oval>, "-5 6 a", graphic(2, box, oval), id.c_str()},
      {"a region's box", make<HounsField>, "-5 6 a", graphic(2, box, oval), id.c_str()},
      {"an oval's turn", make<SkewOval>, "5 6 a -30.1", graphic(2, box, oval + turn), id.c_str()},
      {"a region's turn", make<SkewHounsField>, "5 6 a 1 2 -30.1", graphic(2, box, oval + turn), id.c_str()},
      {"a Cobb angle", make<CobbAngle>, "1 2 3 4 5 6 a", "", ""},
      {"an outline", make<FreeHand>, "1 2 3 a", "", ""},
      {"a text", make<Text>, "0 a", "", nullptr},
      {"a spine label", make<SpineLabel>, "0 0 1 2 a 0", "", ""},
  };
  for (const auto& [name, kind, params, expected, laterId] : rows)
  {
    SCOPED_TRACE(name);
    const auto target = opened();
    const auto annotation = kind(target.get());
    ASSERT_TRUE(annotation->process(common + params) && annotation->createCompound() && annotation->createSimple());
    ASSERT_TRUE(target->save(prefix));
    const auto file = output("PR.1.9");
    DcmItem* item = nullptr;
    ASSERT_TRUE(file->getDataset()->findAndGetSequenceItem(DCM_GraphicAnnotationSequence, item).good());
    EXPECT_EQ(expected, describe(*item, {DCM_CompoundGraphicSequence}));
    DcmItem* last = nullptr;
    ASSERT_EQ(laterId != nullptr, item->findAndGetSequenceItem(DCM_GraphicObjectSequence, last, -1).good());
    if (last)
    {
      const std::string later = describe(*last, {DCM_CompoundGraphicInstanceID});
      EXPECT_EQ(laterId, later.empty() ? "" : " " + later);
    }
  }
}

TEST_F(AnnotationTest, RefusesWithOneLine)
{
  const std::string c = "x 1 red 10 20 1 1 0 0 100 100 0|"; // followed by the parameters of the kind
  const auto common = [](int count)
  { return "Invalid number of common annotation arguments for x: " + std::to_string(count); };
  const auto specific = [](int count)
  { return "Invalid number of annotation specific arguments for x: " + std::to_string(count); };
  const auto vertices = [](const char* count)
  { return "Incorrect number of vertices in a x annotation failed: " + std::string(count); };
  const std::string parsing = "Parsing ", range = " a x annotation failed: Numerical result out of range";
  const std::string noLabel = "Parsing label from a x annotation failed";
  const std::tuple<Make, std::string, std::string> rows[] = {
      {make<Ruler>, "ruler_x", "Invalid annotation line, contains no space: ruler_x"},
      {make<Ruler>, "ruler|x 1 red", "Invalid annotation line, contains no pipe: ruler|x 1 red"},
      {make<Ruler>, "x 1 red 10 20 1 1 0 0|30 40 a 1", common(8)},
      {make<Text>, "x red|0 a", common(0)},
      {make<Ruler>, c + "30 40 a", specific(3)},
      {make<Ruler>, c, specific(-1)},
      {make<Oval>, c + "1 2", specific(2)},
      {make<SkewOval>, c + "   ", specific(-1)},
      {make<SkewHounsField>, c + "1 b", specific(1)},
      {make<SpineLabel>, c + "1 2 3 4 a", specific(5)},
      {make<FreeHand>, c + "2147483648 1 2 a", parsing + "number of vertices in" + range},
      {make<FreeHand>, c + "65535 1 2 a", vertices("65535")},
      {make<FreeHand>, c + "1 2147483648 2 a", parsing + "X coordinate from" + range},
      {make<FreeHand>, c + "1 1 -2147483649 a", parsing + "Y coordinate from" + range},
      {make<FreeHand>, c + "1 1 2", noLabel},
      {make<FreeHand>, c + "65534 1 2" + std::string(4000000, ' '), noLabel},
  };
  for (const auto& [kind, line, message] : rows)
  {
    SCOPED_TRACE(line.substr(0, 80));
    const Capture said;
    const auto target = opened();
    EXPECT_FALSE(kind(target.get())->process(line));
    EXPECT_EQ(message + "\n", said.error.str());
    EXPECT_EQ("GraphicLayer:CS=ANNLAYER1", describe(*target->annotationItem));
  }
  const Capture said;
  EXPECT_FALSE(Ruler(nullptr).process(c + "30 40 a 1"));
  EXPECT_TRUE(FreeHand(nullptr).createSimple()) << "nothing was parsed, nothing is drawn";
  EXPECT_EQ("There is no Presentation State object to update\n", said.error.str());
}

using Names = std::vector<std::pair<DcmTagKey, const char*>>;

/// Each element that the toolkit does not take, of `values` also each that it does not fill, ends `run` with its
/// message and the toolkit's text.
void expectMessages(const std::function<bool()>& run, const Names& created, const Names& values = {})
{
  const auto expect = [&](ToolkitFault::Where where, const DcmTagKey& tag, const std::string& message)
  {
    const Capture said;
    const ToolkitFault fault(where, tag);
    EXPECT_FALSE(run());
    EXPECT_EQ(message + ": Illegal call, perhaps wrong parameters\n", said.error.str());
  };
  for (const auto& [tag, name] : created)
    expect(ToolkitFault::inserting, tag, name + std::string(" could not be created"));
  for (const auto& [tag, name] : values)
  {
    expect(ToolkitFault::inserting, tag, name + std::string(" could not be inserted"));
    expect(ToolkitFault::filling, tag, name + std::string(" value could not be inserted"));
  }
}

TEST_F(AnnotationTest, NamesTheElementThatCouldNotBeWritten)
{
  const Names shapes{{DCM_GraphicDimensions, "Graphic Dimensions"},
                     {DCM_NumberOfGraphicPoints, "Number of Graphic Points"},
                     {DCM_GraphicType, "Graphic Type"},
                     {DCM_CompoundGraphicInstanceID, "Compound Graphic Instance ID"}};
  const Names points{{DCM_GraphicData, "Graphic Data"}};
  const std::string common = "x 3 red 10 20 1 1 0 0 100 100 0|";
  const auto oval = [&] { return Oval(opened().get()).process(common + "5 6 a"); };
  expectMessages(oval, shapes, points);
  expectMessages(oval, {{DCM_GraphicObjectSequence, "Graphic Object Sequence item"},
                        {DCM_GraphicAnnotationUnits, "Graphic Annotation Units"}});
  expectMessages([&] { return Text(opened().get()).process(common + "0 a"); },
                 {{DCM_TextObjectSequence, "Text Object Sequence item"},
                  {DCM_AnchorPointAnnotationUnits, "Anchor Point Annotation Units"},
                  {DCM_UnformattedTextValue, "Unformatted Text Value"},
                  {DCM_AnchorPointVisibility, "Anchor Point Visibility"},
                  {DCM_BoundingBoxAnnotationUnits, "Bounding Box Annotation Units"},
                  {DCM_BoundingBoxTextHorizontalJustification, "Bounding Box Text Horizontal Justification"}},
                 {{DCM_AnchorPoint, "Anchor Point"},
                  {DCM_BoundingBoxTopLeftHandCorner, "Bounding Box Top Left Hand Corner"},
                  {DCM_BoundingBoxBottomRightHandCorner, "Bounding Box Bottom Right Hand Corner"}});

  const auto compoundOf = [&](Make kind)
  {
    return [this, kind]
    {
      const auto target = opened();
      const auto annotation = kind(target.get());
      EXPECT_TRUE(annotation->parseSpecific("x", "1 2 3 4 5"));
      return annotation->createCompound();
    };
  };
  for (const Make kind : {make<Ruler>, make<Angle>, make<Pointer>, make<SkewOval>})
  {
    expectMessages(compoundOf(kind), shapes, points);
    expectMessages(compoundOf(kind), {{DCM_CompoundGraphicSequence, "Compound Graphic Sequence item"},
                                      {DCM_CompoundGraphicUnits, "Compound Graphic Units"}});
  }
  expectMessages(compoundOf(make<Ruler>), {{DCM_TickAlignment, "Tick Alignment"},
                                           {DCM_TickLabelAlignment, "Tick Label Alignment"},
                                           {DCM_ShowTickLabel, "Show Tick Label"}});
  expectMessages(compoundOf(make<SkewOval>),
                 {{DCM_GraphicFilled, "Graphic Filled"}, {DCM_RotationAngle, "Rotation Angle"}},
                 {{DCM_RotationPoint, "Rotation Point"}});

  const Capture said;
  const ToolkitFault fault(ToolkitFault::inserting, DCM_PatternOnColorCIELabValue);
  EXPECT_TRUE(Angle(opened().get()).process(common + "1 2 3 4 a ex")) << "only the helper line's colour is lost";
  EXPECT_EQ("CIELab Color could not be inserted: Illegal call, perhaps wrong parameters\n", said.error.str());
}

TEST_F(AnnotationTest, DebugPrintsWhatWasParsed)
{
  const std::tuple<Make, const char*, const char*> rows[] = {
      {make<Ruler>, "1 2 a+b 2", "Ruler arguments: 4\n End X: 1\n End Y: 2\n Label: a b\n Show Tick Marks: true\n"},
      {make<Angle>, "1 2 3 4 a",
       "Angle arguments: 5\n Ray 1 X: 1\n Ray 1 Y: 2\n Ray 2 X: 3\n Ray 2 Y: 4\n Label: a\n Mode: \n"},
      {make<CobbAngle>, "1 2 3 4 5 6 a 7 8 9 e%78",
       "Cobb Angle arguments: 11\n End X: 3\n End Y: 4\n Ray Base X: 1\n Ray Base Y: 2\n Ray End X: 5\n Ray End Y: 6\n"
       " Label: a\n Mode: e%78\n"},
      {make<SkewOval>, "-1 2 a 30.5 1",
       "Oval(x)\n Size X: 1\n Size Y: 2\n Rotation: 30.5\n Label: \"a\"\n Show Center: true\n"},
      {make<HounsField>, "1 2 a 3 4 2",
       "Oval(x)\n Size X: 1\n Size Y: 2\n Rotation: 0\n Label: \"a\"\n Show Center: false\n"},
      {make<FreeHand>, "2 1 2 3 4 a",
       "FreeHand arguments: \n Count of vertices: 2\n Vertex[0]: {1, 2}\n Vertex[1]: {3, 4}\n Label: a\n"},
      {make<Pointer>, "1 2", "Pointer arguments: 2\n End X: 1\n End Y: 2\n"},
      {make<Text>, "1 a", "Text arguments: 2\n Label: a\n"},
      {make<SpineLabel>, "1 2 3 4 a 5", "SpineLabel arguments: 6\n Label: a\n"},
  };
  const auto target = opened(true);
  for (const auto& [kind, params, expected] : rows)
  {
    const Capture said;
    EXPECT_TRUE(kind(target.get())->parseSpecific("x", params));
    EXPECT_EQ(expected, said.out.str());
  }
  const Capture said;
  EXPECT_FALSE(Ruler(target.get()).process("ruler_x 1 red 2 3 1 0 4 5 6 7 8|bad|"));
  EXPECT_EQ("Annotation Type: [ruler_x]\nCommon Parameters: [1 red 2 3 1 0 4 5 6 7 8]\nSpecific Parameters: [bad|]\n"
            "Annotation Common arguments: 11\n Index: 1\n Color: red\n Show Index: true\n Show Value: false\n"
            " Base X: 2\n Base Y: 3\n Index Anchor X: 4\n Index Anchor Y: 5\n Value Anchor X: 6\n Value Anchor Y: 7\n"
            " Orientation: 8\n",
            said.out.str());
}

TEST(DicomCieLab, GivesTheBitsOfTheToolkit)
{
  const double components[] = {0.0, 1.0, 204.0, 255.0, 0.04, 0.0404482362771076, 0.0405, 0.5, 0.2, -1.0, 1e9};
  for (const double red : components)
    for (const double green : components)
      for (const double blue : components)
      {
        const DicomCieLab ours(red, green, blue);
        double L = 0.0, a = 0.0, b = 0.0;
        IODCIELabUtil::rgb2DicomLab(L, a, b, red, green, blue);
        EXPECT_TRUE(ours.L == L && ours.a == a && ours.b == b) << red << ' ' << green << ' ' << blue;
      }
}

} // namespace
