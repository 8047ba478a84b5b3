#include "tests/support/StateFixture.h"

#include "pstate/DicomCieLab.h"
#include "images/ObjectInfo.h"
#include "pstate/ValidPresentationState.h"
#include "annotations/Parameters.h"
#include "annotations/angle.h"
#include "annotations/oval.h"
#include "annotations/pointer.h"
#include "annotations/ruler.h"
#include "annotations/text.h"

#include <dcmtk/dcmiod/cielabutil.h>

#include <dlfcn.h>

#include <deque>
#include <sstream>
#include <tuple>

using namespace impsconverter;

namespace
{

const DcmTagKey kNone(0xFFFF, 0xFFFF);
DcmTagKey refusedTag = kNone; ///< no item takes an element of it

} // namespace

// Found before that of the toolkit's shared library, also by the library itself.
OFCondition DcmItem::insert(DcmElement* element, OFBool replaceOld, OFBool checkInsertOrder)
{
  using Insert = OFCondition (*)(DcmItem*, DcmElement*, OFBool, OFBool);
  static const auto insertReally = reinterpret_cast<Insert>(dlsym(RTLD_NEXT, "_ZN7DcmItem6insertEP10DcmElementbb"));
  if (element && element->getTag() == refusedTag)
    return EC_IllegalCall;
  return insertReally(this, element, replaceOld, checkInsertOrder);
}

namespace
{

using Make = std::unique_ptr<Annotation> (*)(ValidPresentationState*);
template <class Kind>
std::unique_ptr<Annotation> make(ValidPresentationState* state)
{
  return std::make_unique<Kind>(state);
}

class AnnotationTest : public StateFixture
{
protected:
  AnnotationTest()
  {
    file->getDataset()->updateOriginalXfer();
    EXPECT_TRUE(target.setImageReferences(ObjectInfo("1.2", "CT.1.2.3"), "1"));
  }

  const std::unique_ptr<DcmFileFormat> file = state("");
  ValidPresentationState target{file->getDataset(), "1.9", 1, false}; ///< annotations can be written into it
};

// What the sample states do not show.
TEST_F(AnnotationTest, SimpleFormsAndTextsReadBack)
{
  const std::string letter = "a 96\\90 104\\110 ";                    // as a value
  const std::string low = "-2.14748365e+09", high = "2.14748365e+09"; // the ends of 32 bits as floats
  const std::string longest(512, 'a');
  // expected: texts with the corners of their boxes, then the points of each graphic, its ID, its type
  const std::tuple<const char*, std::string, std::string> rows[] = {
      {"a label of 512 and a number at once", "ruler_x 1 red 10 20 1 1 0 0 100 100 0|30 40 " + longest + "1",
       longest + " -1948\\90 2148\\110 10\\20\\30\\40 POLYLINE"},
      {"another mode", "angle_x 1 red 30 30 1 1 0 0 100 100 0|10 10 50 10 a EX",
       letter + "10\\10\\30\\30\\50\\10 POLYLINE"},
      {"an angle at the ends", "angle_x 1 red -2147483648 0 1 0 0 0 0|2147483647 1 2147483647 1 a ex",
       high + "\\1\\" + low + "\\0\\" + high + "\\1 POLYLINE " + low + "\\0\\" + low + "\\-1 POLYLINE DASHED"},
      {"a Cobb label tied to both lines, ten fields", "cobangle_x 1 red 10 20 1 1 0 0 100 100 0|0 0 30 40 8 6 a 0 0 ex",
       letter + "10\\20\\30\\40 POLYLINE 0\\0\\8\\6 POLYLINE "
                "20\\30\\100\\100 POLYLINE DASHED 4\\3\\100\\100 POLYLINE DASHED"},
      {"a midpoint that wraps", "cobangle_x 1 red 2147483647 0 1 0 0 0 0|0 0 2147483647 0 0 0 a",
       high + "\\0\\" + high + "\\0 POLYLINE 0\\0\\0\\0 POLYLINE -1\\0\\0\\0 POLYLINE DASHED"},
      {"single precision before the sine", "skewoval_x 7 red 0 0 1 0 0 0 0|1000 1000 a 0.1",
       "999.998474\\1.74532843\\-999.998474\\-1.74532843\\-1.74530172\\999.998474\\1.74530172\\-999.998474 "
       "ELLIPSE 7"},
      {"the size without absolute value", "oval_x 7 red 2147483647 0 1 0 0 0 0|-2147483648 0 a",
       "0\\0\\4.2949673e+09\\0\\" + high + "\\0\\" + high + "\\0 ELLIPSE 7"},
      {"missing numbers are zero", "free_x 1 red 10 20 1 1 0 0 100 100 0|3 5 6 a",
       letter + "5\\6\\0\\0\\0\\0\\5\\6 POLYLINE"},
      {"an arrow across 32 bits", "freepointer_x 1 red -2147483648 0 1 1 0 0 0|2147483647 0",
       low + "\\0\\" + high + "\\0 POLYLINE " + high + "\\8\\" + low + "\\0\\" + high + "\\-8 POLYLINE"},
      {"a longer label is cut", "text_x 1 red 10 20 1 0 0 0 100 100 0|0 " + longest + "b",
       longest + " 10\\20 4106\\40"},
  };
  for (const auto& [name, line, expected] : rows)
  {
    EXPECT_EQ("", convert(figureOf({line})).error);
    EXPECT_EQ(expected, valuesIn({DCM_UnformattedTextValue, DCM_BoundingBoxTopLeftHandCorner,
                                  DCM_BoundingBoxBottomRightHandCorner, DCM_GraphicData, DCM_GraphicType,
                                  DCM_LineDashingStyle, DCM_CompoundGraphicInstanceID}))
        << name;
  }
}

TEST_F(AnnotationTest, TheParametersBeginBehindTheFirstBlank)
{
  const Capture said;
  EXPECT_FALSE(Ruler(&target).process("ruler|x 1 red"));
  EXPECT_EQ("Invalid annotation line, contains no pipe: ruler|x 1 red\n", said.error.str());
}

TEST_F(AnnotationTest, CompoundFormsReadBack)
{
  const auto compound = [](const char* count, const std::string& points, const std::string& rest)
  {
    return std::string("CompoundGraphicSequence{GraphicDimensions:US=2 NumberOfGraphicPoints:US=") + count +
           " GraphicData:FL=" + points + " GraphicType:CS=" + rest + " CompoundGraphicUnits:CS=PIXEL}";
  };
  const std::string id = " CompoundGraphicInstanceID:UL=3";
  const std::string box = "5\\14\\15\\26", oval = "ELLIPSE GraphicFilled:CS=N" + id;
  // marked: graphics that are added afterwards carry the ID
  const std::tuple<const char*, Make, const char*, std::string, bool> rows[] = {
      {"a ruler", make<Ruler>, "30 40 a 1",
       compound("2", "10\\20\\30\\40",
                "RULER" + id + " TickAlignment:CS=CENTER ShowTickLabel:CS=N TickLabelAlignment:CS=BOTTOM"),
       false},
      {"a range line", make<Ruler>, "30 40 a 0", compound("2", "10\\20\\30\\40", "RANGELINE" + id), false},
      {"an angle without its extension", make<Angle>, "1 2 3 4 a ex",
       compound("4", "10\\20\\1\\2\\10\\20\\3\\4", "MULTILINE" + id), true},
      {"an arrow from tail to tip", make<Pointer>, "30 40", compound("2", "30\\40\\10\\20", "ARROW" + id), true},
      {"an oval's box", make<Oval>, "-5 6 a", compound("2", box, oval), true},
      {"an oval's turn", make<SkewOval>, "5 6 a -30.1",
       compound("2", box, oval + " RotationAngle:FD=-30.100000381469727 RotationPoint:FL=10\\20"), true},
  };
  for (const auto& [name, kind, params, expected, marked] : rows)
  {
    SCOPED_TRACE(name);
    const auto annotation = kind(&target);
    ASSERT_TRUE(annotation->process("x 3 red 10 20 1 1 0 0 100 100 0|" + std::string(params)));
    ASSERT_TRUE(annotation->createCompound() && annotation->createSimple());
    EXPECT_EQ(expected, describe(*target.annotationItem, {DCM_CompoundGraphicSequence}));
    DcmItem* last = nullptr;
    ASSERT_TRUE(target.annotationItem->findAndGetSequenceItem(DCM_GraphicObjectSequence, last, -1).good());
    EXPECT_EQ(marked, last->tagExists(DCM_CompoundGraphicInstanceID));
    target.annotationItem->findAndDeleteElement(DCM_CompoundGraphicSequence);
  }
}

/// A kind of somebody else's, which draws by plain coordinates.
class PlainKind : public Text
{
public:
  using Text::Text;
  bool createSimple() override
  {
    float points[] = {1.5F, 2, 3, 4};
    float width = 0.0F;
    float height = 0.0F;
    calcTextBox("ab\n", width, height);
    return addPolyline(points, 2) && addDashedLine(1, 2, width, height, DicomCieLab(0, 0, 0)) &&
           addText(100, 100, "abcd", true) && addText(5, 6, "", false);
  }
};

TEST_F(AnnotationTest, KindsMayDrawByPlainCoordinates)
{
  ValidPresentationState saved(file->getDataset(), "1.8", 1, false);
  ASSERT_TRUE(saved.setImageReferences(ObjectInfo("1.2", "CT.1.2.3"), "1") && saved.checkAndCreateAnnotationLayer());
  ASSERT_TRUE(PlainKind(&saved).createSimple() && saved.save(prefix));
  EXPECT_EQ("abcd 84\\90 116\\110  5\\6 13\\26 1.5\\2\\3\\4 1\\2\\16\\20 DASHED",
            valuesIn({DCM_GraphicData, DCM_LineDashingStyle, DCM_UnformattedTextValue, DCM_BoundingBoxTopLeftHandCorner,
                      DCM_BoundingBoxBottomRightHandCorner},
                     "PR.1.8"));
}

TEST_F(AnnotationTest, AnElementThatIsNotTakenEndsTheAnnotationWithOneLine)
{
  const std::tuple<Make, DcmTagKey, const char*> rows[] = {
      {make<Oval>, DCM_GraphicData, "Graphic Data could not be inserted"},
      {make<Text>, DCM_AnchorPoint, "Anchor Point could not be inserted"},
      {make<Ruler>, DCM_CompoundGraphicUnits, "Compound Graphic Units could not be created"},
      {make<Ruler>, DCM_TickAlignment, "Tick Alignment could not be created"},
  };
  for (const auto& [kind, tag, message] : rows)
  {
    const Capture said;
    const auto annotation = kind(&target);
    refusedTag = tag;
    EXPECT_FALSE(annotation->process("x 3 red 10 20 1 1 0 0 0 0|1 2 3 4") && annotation->createCompound());
    refusedTag = kNone;
    EXPECT_EQ(message + std::string(": Illegal call, perhaps wrong parameters\n"), said.error.str());
  }
}

struct Scan
{
  const char* name;
  const char* fields; ///< d: number, g: real, s: word of at most 4 bytes
  const char* text;
  const char* expected; ///< the count and the values, which are 7 or "-" where nothing was read
};

class ParametersTest : public testing::TestWithParam<Scan>
{
};

TEST_P(ParametersTest, ReadsAsScanfDoes)
{
  std::deque<int> numbers;
  std::deque<double> reals;
  std::deque<std::string> words;
  Parameters scanned("fields", "a test", GetParam().text, false);
  std::ostringstream values;
  for (const char field : std::string(GetParam().fields))
    if (field == 'd')
    {
      scanned.number(numbers.emplace_back(7));
      values << ' ' << numbers.back();
    }
    else if (field == 'g')
    {
      scanned.real(reals.emplace_back(7));
      values << ' ' << reals.back();
    }
    else
    {
      scanned.word(words.emplace_back("-"), nullptr, 4);
      values << ' ' << words.back();
    }
  EXPECT_EQ(GetParam().expected, std::to_string(scanned.count()) + values.str());
}

const Scan kScans[] = {
    {"NothingAtAll", "dd", "", "-1 7 7"},
    {"BlanksAlone", "sd", " \t\n\v\f\r", "-1 - 7"},
    {"NoNumber", "dd", "a 1", "0 7 7"},
    {"ASignAlone", "d", "-", "0 7"},
    {"ASignApart", "d", "- 5", "0 7"},
    {"TwoSigns", "d", "+-5", "0 7"},
    {"APlus", "d", "+5", "1 5"},
    {"TheTextEndsLate", "dd", "1 ", "1 1 7"},
    {"NothingAfterAFailure", "ddd", "1 a 3", "1 1 7 7"},
    {"AllWhiteSpaceSeparates", "dddddd", "\t1\n2\v3\f4\r5 6", "6 1 2 3 4 5 6"},
    {"NumbersTouch", "dd", "1-2", "2 1 -2"},
    {"OctalIsDecimal", "d", "010", "1 10"},
    {"HexLeavesItsX", "ds", "0x1F", "2 0 x1F"},
    {"APointEndsANumber", "dg", "1.5", "2 1 0.5"},
    {"LargestNumber", "d", "2147483647", "1 2147483647"},
    {"LowBitsOf2To31", "d", "2147483648", "1 -2147483648"},
    {"LowBitsOf2To32", "d", "4294967296", "1 0"},
    {"HeldAt2To63", "d", "9223372036854775808", "1 -1"},
    {"HeldAtMinus2To63", "d", "-99999999999999999999", "1 0"},
    {"AWordLeavesItsRest", "sds", "abcd12ef", "3 abcd 12 ef"},
    {"AWordTakesAnyByte", "sd", "\x01\xff|% 5", "2 \x01\xff|% 5"},
    {"ARealTakesItsExponent", "gs", "1.5E+2x", "2 150 x"},
    {"AnUnfinishedExponentIsTaken", "gs", "1e+ 2", "2 1 2"},
    {"AnExponentHasOneSign", "gd", "1e+-5", "2 1 -5"},
    {"OneExponent", "gs", "1e2e3", "2 100 e3"},
    {"OnePoint", "gg", "1.2.5", "2 1.2 0.5"},
    {"ACommaIsNoPoint", "gs", "1,5", "2 1 ,5"},
    {"NoDigitBeforeThePoint", "g", "-.5", "1 -0.5"},
    {"APointAlone", "g", ".", "0 7"},
    {"NoDigitBeforeTheExponent", "g", ".e5", "0 7"},
    {"ARealInHex", "gs", "0X1.8P+1p", "2 3 p"},
    {"HexWithoutDigits", "gs", "0x 1", "0 7 -"},
    {"HexWithItsPointAlone", "gs", "-0x.1x", "2 -0.0625 x"},
    {"HexOfAPoint", "gs", "0x.p1", "2 0 p1"},
    {"NoSecondZeroBeforeX", "gs", "00x1", "2 0 x1"},
    {"TooLarge", "g", "1e400", "1 inf"},
    {"TooSmall", "g", "-1e-400", "1 -0"},
    {"Infinity", "ggs", "-INF infinityx", "3 -inf inf x"},
    {"HalfOfInfinity", "gs", "infin", "0 7 -"},
    {"NotANumber", "gs", "nan(1)", "2 nan (1)"},
    {"NotQuiteNan", "gs", "nam", "0 7 -"},
};
INSTANTIATE_TEST_SUITE_P(Fields, ParametersTest, testing::ValuesIn(kScans),
                         [](const auto& row) { return row.param.name; });

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
