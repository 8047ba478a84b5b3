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

#include <cstdio>
#include <string>

using namespace impsconverter;

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

struct Form
{
  const char* fact;
  std::string line;
  DcmTagKey tag; ///< what of the output shows it
  std::string values;
};

const std::string kLow = "-2.14748365e+09", kHigh = "2.14748365e+09"; // the ends of 32 bits as floats
const std::string kLongest(512, 'a');
const std::string kPlace = "_x 1 red 10 20 1 1 0 0 100 100 0|";
const DcmTagKey& kPoints = DCM_GraphicData;

// What the sample states do not show.
const Form kForms[] = {
    {"a label of 512 and a number at once", "ruler" + kPlace + "30 40 " + kLongest + "1", DCM_UnformattedTextValue,
     kLongest},
    {"a longer label is cut", "text" + kPlace + "0 " + kLongest + "b", DCM_UnformattedTextValue, kLongest},
    {"the box holds the whole label", "text" + kPlace + "0 " + kLongest, DCM_BoundingBoxBottomRightHandCorner,
     "4106\\40"},
    {"an empty label has a box of one cell", "text" + kPlace + "0 %00x", DCM_BoundingBoxBottomRightHandCorner,
     "18\\40"},
    {"a mode in capitals extends no ray", "angle" + kPlace + "30 10 50 10 a EX", kPoints, "30\\10\\10\\20\\50\\10"},
    {"a mirrored ray wraps", "angle_x 1 red -2147483648 0 1 0 0 0 0|0 1 2147483647 1 a ex", kPoints,
     "0\\1\\" + kLow + "\\0\\" + kHigh + "\\1 " + kLow + "\\0\\" + kLow + "\\-1"},
    {"a Cobb label is tied to both lines, ten fields", "cobangle" + kPlace + "0 0 30 40 8 6 a 0 0 ex", kPoints,
     "10\\20\\30\\40 0\\0\\8\\6 20\\30\\100\\100 4\\3\\100\\100"},
    {"a midpoint wraps", "cobangle_x 1 red 2147483647 0 1 0 0 0 0|0 0 2147483647 0 0 0 a", kPoints,
     kHigh + "\\0\\" + kHigh + "\\0 0\\0\\0\\0 -1\\0\\0\\0"},
    {"single precision before the sine", "skewoval_x 7 red 0 0 1 0 0 0 0|1000 0 a 0.1", kPoints,
     "999.998474\\1.74532843\\-999.998474\\-1.74532843\\0\\0\\0\\0"},
    {"the size without absolute value", "oval_x 7 red 2147483647 0 1 0 0 0 0|-2147483648 0 a", kPoints,
     "0\\0\\4.2949673e+09\\0\\" + kHigh + "\\0\\" + kHigh + "\\0"},
    {"missing vertices are zero", "free" + kPlace + "3 5 6 a", kPoints, "5\\6\\0\\0\\0\\0\\5\\6"},
    {"an arrow across 32 bits", "freepointer_x 1 red -2147483648 0 1 1 0 0 0|2147483647 0", kPoints,
     kLow + "\\0\\" + kHigh + "\\0 " + kHigh + "\\8\\" + kLow + "\\0\\" + kHigh + "\\-8"},
};

TEST_F(AnnotationTest, SimpleFormsAndTextsReadBack)
{
  for (const Form& row : kForms)
  {
    EXPECT_EQ("", convert(figureOf({row.line})).error);
    EXPECT_EQ(row.values, valuesIn({row.tag})) << row.fact;
  }
}

struct CompoundForm
{
  const char* fact;
  Make make;
  const char* params;
  const char *count, *points;
  std::string rest;         ///< behind the points: the type and what only it has
  bool isIdentified = true; ///< graphics that are added afterwards carry the ID
};

const std::string kId = " CompoundGraphicInstanceID:UL=3";
const CompoundForm kCompoundForms[] = {
    {"a ruler has ticks", make<Ruler>, "30 40 a 1", "2", "10\\20\\30\\40",
     "RULER" + kId + " TickAlignment:CS=CENTER ShowTickLabel:CS=N TickLabelAlignment:CS=BOTTOM", false},
    {"a range line", make<Ruler>, "30 40 a 0", "2", "10\\20\\30\\40", "RANGELINE" + kId, false},
    {"an angle goes without its extension", make<Angle>, "1 2 3 4 a ex", "4", "10\\20\\1\\2\\10\\20\\3\\4",
     "MULTILINE" + kId},
    {"an arrow goes from tail to tip", make<Pointer>, "30 40", "2", "30\\40\\10\\20", "ARROW" + kId},
    {"an oval is its box", make<Oval>, "-5 6 a", "2", "5\\14\\15\\26", "ELLIPSE GraphicFilled:CS=N" + kId},
    {"an oval turns about its centre", make<SkewOval>, "5 6 a -30.5", "2", "5\\14\\15\\26",
     "ELLIPSE GraphicFilled:CS=N" + kId + " RotationAngle:FD=-30.5 RotationPoint:FL=10\\20"},
};

TEST_F(AnnotationTest, CompoundFormsReadBack)
{
  for (const CompoundForm& row : kCompoundForms)
  {
    SCOPED_TRACE(row.fact);
    const auto annotation = row.make(&target);
    ASSERT_TRUE(annotation->process("x 3 red 10 20 1 1 0 0 100 100 0|" + std::string(row.params)));
    ASSERT_TRUE(annotation->createCompound() && annotation->createSimple());
    EXPECT_EQ(std::string("CompoundGraphicSequence{GraphicDimensions:US=2 NumberOfGraphicPoints:US=") + row.count +
                  " GraphicData:FL=" + row.points + " GraphicType:CS=" + row.rest + " CompoundGraphicUnits:CS=PIXEL}",
              describe(*target.annotationItem, {DCM_CompoundGraphicSequence}));
    DcmItem* last = nullptr;
    ASSERT_TRUE(target.annotationItem->findAndGetSequenceItem(DCM_GraphicObjectSequence, last, -1).good());
    EXPECT_EQ(row.isIdentified, last->tagExists(DCM_CompoundGraphicInstanceID));
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
    return addPolyline(points, 2);
  }
};

TEST_F(AnnotationTest, KindsMayDrawByPlainCoordinates)
{
  ASSERT_TRUE(target.checkAndCreateAnnotationLayer() && PlainKind(&target).createSimple());
  EXPECT_EQ("GraphicObjectSequence{GraphicAnnotationUnits:CS=PIXEL GraphicDimensions:US=2 NumberOfGraphicPoints:US=2 "
            "GraphicData:FL=1.5\\2\\3\\4 GraphicType:CS=POLYLINE}",
            describe(*target.annotationItem, {DCM_GraphicObjectSequence}));
}

/// Reads a value and a word of 4 bytes at most, as scanf reads them by the format.
template <class Value>
void expectAsScanf(const std::string& text, const char* format, Parameters& (Parameters::*read)(Value&, const char*))
{
  Value value = 7, wanted = 7;
  std::string word;
  char wantedWord[5] = "";
  Parameters scanned("fields", "a test", text.c_str(), false);
  (scanned.*read)(value, nullptr);
  scanned.word(word, nullptr, 4);
  ASSERT_EQ(scanned.count(), std::sscanf(text.c_str(), format, &wanted, wantedWord)) << text; // NOLINT(cert-err34-c)
  ASSERT_EQ(std::to_string(value) + word, std::to_string(wanted) + wantedWord) << text;
}

TEST(Parameters, AreReadAsScanfReadsThem)
{
  const char* const pieces[] = {"",   "0",     "7", "0X",         "-",  "+",   ".",
                                "e",  "p",     "a", "2147483648", "i",  "NAN", "inf",
                                "in", "inity", " ", "\t",         "\r", ",",   "9999999999999999999"};
  for (const std::string first : pieces)
    for (const std::string second : pieces)
      for (const std::string third : pieces)
        for (const std::string fourth : pieces)
        {
          const std::string text = first + second + third + fourth;
          expectAsScanf<int>(text, "%d%4s", &Parameters::number);
          expectAsScanf<double>(text, "%lg%4s", &Parameters::real);
        }
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
