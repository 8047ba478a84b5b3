// The rules for annotations, layers and texts: each finds its fault in a state that is sound otherwise, and mends it.
#include "conformance/conform.h"
#include "conformance/Rule.h"
#include "samples/SampleImage.h"
#include "samples/SampleState.h"
#include "samples/study.h"
#include "tests/support/StateFixture.h"
#include "tests/support/edits.h"

#include <limits>
#include <numeric>
#include <set>

using namespace tarn::conformance;

namespace
{

const std::string kItem = "GraphicAnnotationSequence[1].";
const std::string kText = kItem + "TextObjectSequence[0].";
const std::string kAnchored = kItem + "TextObjectSequence[1].";
const std::string kStyle = kText + "TextStyleSequence[0].";
const std::string kGraphic = kItem + "GraphicObjectSequence[";
const std::string kCircle = kGraphic + "1].";
const std::string kLine = kGraphic + "2].";
const std::string kLineStyle = kLine + "LineStyleSequence[0].";
const std::string kClosed = kGraphic + "3].";
const std::string kEllipse = kGraphic + "4].";
const std::string kAxis = kItem + "CompoundGraphicSequence[0].";

std::vector<Float32> spiral(std::size_t points)
{
  std::vector<Float32> values(2 * points);
  std::iota(values.begin(), values.end(), 0.0F);
  std::transform(values.begin(), values.end(), values.begin(), [](Float32 value) { return value / 256.0F; });
  return values;
}

struct SampleSizes : ImageSizes
{
  std::optional<ImageSize> find(const std::string&) override { return ImageSize{512, 512, 1}; }
};

std::string bytesOf(const DcmDataset& dataset)
{
  return samples::encodeFile(dataset, EXS_LittleEndianExplicit);
}

} // namespace

class ConformanceAnnotation : public StateFixture
{
protected:
  /// A sample output of every kind of annotation, and foreign annotations, in the conformant form.
  DcmDataset sound()
  {
    static const std::unique_ptr<DcmDataset> kSound = make();
    return *kSound;
  }

  std::unique_ptr<DcmDataset> make()
  {
    for (const samples::SampleImage& image : samples::sampleImages())
      execute(("INSERT INTO objects VALUES ('" + std::string(samples::kStudyUid) + "', '" + image.name() + "', '" +
               image.sopClassUid() + "', '" + image.sopInstanceUid() + "', '" + image.seriesUid() + "', 256, 256, 1)")
                  .c_str());
    DcmFileFormat input(samples::makeState(samples::sampleStates().front()).get());
    EXPECT_TRUE(convert(input).good);
    auto dataset = std::make_unique<DcmDataset>(*output(outputNames().at(0))->getDataset());
    addForeignAnnotations()(*dataset);
    EXPECT_TRUE(makeConformant(*dataset, &sizes).left.empty());
    return dataset;
  }

  /// The codes of what is found, but not at the places in `known`.
  std::set<std::string> codesOf(DcmDataset& dataset, Level level, const std::set<std::string>& known = {})
  {
    std::set<std::string> codes;
    for (const Finding& finding : check(dataset, &sizes))
      if (finding.rule->level == level && known.count(finding.rule->code + finding.at) == 0)
        codes.insert(finding.rule->code);
    return codes;
  }

  SampleSizes sizes;
};

TEST_F(ConformanceAnnotation, LeavesASoundStateAsItIsByteForByte)
{
  DcmDataset dataset = sound();
  EXPECT_EQ(codesOf(dataset, Level::error), std::set<std::string>());
  const std::string before = bytesOf(dataset);
  EXPECT_TRUE(makeConformant(dataset, &sizes).remedies.empty());
  EXPECT_EQ(bytesOf(dataset), before);
}

TEST_F(ConformanceAnnotation, LongTextsArePiecesBelowEachOtherThatMakeUpTheText)
{
  std::string words;
  for (int i = 0; words.size() < 3000; ++i)
    words += "word" + std::to_string(i) + (i % 40 == 0 ? "\r\n" : "  ");
  words += "\xC4\x81\x30\x81\x31"; // two characters in GB18030, no more than bytes in Latin-1
  for (const char* terms : {"ISO_IR 100", "GB18030", "ISO_IR 192"})
  {
    DcmDataset dataset = sound();
    const std::string text = terms == std::string("ISO_IR 100") ? words.substr(0, words.size() - 5) + "\xFC" : words;
    set({"SpecificCharacterSet=" + std::string(terms), kItem + "TextObjectSequence[0].UnformattedTextValue=" + text,
         kAnchored + "UnformattedTextValue=" + text})(dataset);
    EXPECT_TRUE(makeConformant(dataset, &sizes).left.empty()) << terms;
    DcmItem* item = nullptr;
    dataset.findAndGetSequenceItem(DCM_GraphicAnnotationSequence, item, 1);
    std::string joined;
    Float32 below = 0.1F;
    for (signed long i = 0; i < 6; ++i)
    {
      DcmItem* piece = nullptr;
      samples::require(item->findAndGetSequenceItem(DCM_TextObjectSequence, piece, i), "piece");
      OFString value;
      piece->findAndGetOFString(DCM_UnformattedTextValue, value);
      joined += value.c_str();
      Float32 top = 0;
      Float32 bottom = 0;
      if (piece->findAndGetFloat32(DCM_BoundingBoxTopLeftHandCorner, top, 1).good())
      {
        piece->findAndGetFloat32(DCM_BoundingBoxBottomRightHandCorner, bottom, 1);
        EXPECT_NEAR(top, below, 1e-4) << terms;
        below = bottom;
      }
    }
    EXPECT_NEAR(below, 0.2F, 1e-4) << terms;
    EXPECT_EQ(joined.substr(0, joined.size() / 2), joined.substr(joined.size() / 2)) << terms;
    EXPECT_EQ(joined.substr(0, words.size() - 5), words.substr(0, words.size() - 5)) << terms;
  }
}

TEST_F(ConformanceAnnotation, PiecesOfAnOutlineShareAPointAndStayInOrder)
{
  DcmDataset dataset = sound();
  const std::vector<Float32> points = spiral(20000);
  putFloats(kLine + "GraphicData", points)(dataset);
  EXPECT_TRUE(makeConformant(dataset, &sizes).left.empty());
  DcmItem* item = nullptr;
  dataset.findAndGetSequenceItem(DCM_GraphicAnnotationSequence, item, 1);
  std::vector<Float32> joined;
  std::string types;
  for (signed long i = 0; i < 7; ++i)
  {
    DcmItem* piece = nullptr;
    samples::require(item->findAndGetSequenceItem(DCM_GraphicObjectSequence, piece, i), "piece");
    types += describe(*piece, {DCM_NumberOfGraphicPoints, DCM_GraphicType}) + "\n";
    const Float32* values = nullptr;
    unsigned long count = 0;
    piece->findAndGetFloat32Array(DCM_GraphicData, values, &count);
    if (i >= 2 && i < 5)
      joined.insert(joined.end(), values + (i == 2 ? 0 : 2), values + count);
  }
  EXPECT_EQ(joined, points);
  EXPECT_EQ(types, "NumberOfGraphicPoints:US=1 GraphicType:CS=POINT\n"
                   "NumberOfGraphicPoints:US=2 GraphicType:CS=CIRCLE\n"
                   "NumberOfGraphicPoints:US=8191 GraphicType:CS=INTERPOLATED\n"
                   "NumberOfGraphicPoints:US=8191 GraphicType:CS=INTERPOLATED\n"
                   "NumberOfGraphicPoints:US=3620 GraphicType:CS=INTERPOLATED\n"
                   "NumberOfGraphicPoints:US=4 GraphicType:CS=POLYLINE\n"
                   "NumberOfGraphicPoints:US=4 GraphicType:CS=ELLIPSE\n");
}

/// The texts of a data set and its character set before, and what they become.
TEST_F(ConformanceAnnotation, OneTextThatDoesNotFitMakesAllUtf8)
{
  const std::vector<std::array<std::string, 4>> rows{
      {"ISO_IR 100", "M\xFCller",
       "Gr\xC3\xB6\xC3\x9F"
       "e",
       "M\xC3\xBCller|Gr\xC3\xB6\xC3\x9F"
       "e"},
      {"ISO_IR 100", "M\xC3\xBCller", "a\x93\xE4\x94", "M\xC3\x83\xC2\xBCller|a\xC3\xA4"},
      {"", "M\xC3\xBCller", "\xE4", "M\xC3\xBCller|\xC3\xA4"},
      {"ISO_IR 192", "M\xC3\xBCller", "\xED\xA0\x80 \xE4", "M\xC3\xBCller|\xC3\xAD\xC2\xA0 \xC3\xA4"},
      {"ISO_IR 144", "\xBC\xD8\xE0", "\xBC\x85", "\xD0\x9C\xD0\xB8\xD1\x80|\xC2\xBC"},
      {"\\ISO 2022 IR 149", "Kim=\x1B$)C\xB1\xE8", "\xE4", "Kim=\xEA\xB9\x80|\xC3\xA4"}};
  for (const auto& [terms, name, text, expected] : rows)
  {
    DcmDataset dataset = sound();
    set({"SpecificCharacterSet=" + terms, "PatientName=" + name, kAnchored + "UnformattedTextValue=" + text})(dataset);
    const Conformed made = makeConformant(dataset, &sizes);
    EXPECT_EQ(made.remedies.count("texts-made-utf8"), 1U) << expected;
    EXPECT_EQ(describe(dataset, {DCM_SpecificCharacterSet}), "SpecificCharacterSet:CS=ISO_IR 192");
    DcmItem* item = nullptr;
    dataset.findAndGetSequenceItem(DCM_GraphicAnnotationSequence, item, 1);
    item->findAndGetSequenceItem(DCM_TextObjectSequence, item, 1);
    OFString made8;
    OFString label;
    dataset.findAndGetOFString(DCM_PatientName, made8);
    item->findAndGetOFString(DCM_UnformattedTextValue, label);
    EXPECT_EQ(made8 + "|" + label, expected.c_str());
  }
}

TEST_F(ConformanceAnnotation, ALayerGoesWithItsLastObjectAndStaysWhereItNeverHadOne)
{
  DcmDataset dataset = sound();
  const std::string lost = "GraphicAnnotationSequence[2].";
  set({"GraphicLayerSequence[2].GraphicLayer=BARE", "GraphicLayerSequence[2].GraphicLayerOrder=2",
       "GraphicLayerSequence[3].GraphicLayer=LOST", "GraphicLayerSequence[3].GraphicLayerOrder=3",
       lost + "GraphicLayer=LOST", lost + "TextObjectSequence[0].UnformattedTextValue=",
       lost + "TextObjectSequence[0].AnchorPoint=1\\1", lost + "TextObjectSequence[0].AnchorPointVisibility=N",
       lost + "TextObjectSequence[0].AnchorPointAnnotationUnits=PIXEL"})(dataset);
  const Conformed made = makeConformant(dataset, &sizes);
  EXPECT_EQ(made.remedies, (std::map<std::string, std::uint64_t>{
                               {"annotation-dropped", 1}, {"empty-sequence-removed", 1}, {"text-dropped", 1}}));
  EXPECT_EQ(describe(dataset, {DCM_GraphicLayerSequence}).find("LOST"), std::string::npos);
  EXPECT_NE(describe(dataset, {DCM_GraphicLayerSequence}).find("BARE"), std::string::npos);
}

/// A fault, the one error that is found, and the codes of the remedies that leave none; without these the error is
/// left.
struct Fault
{
  const char* name;
  const char* code;
  std::vector<const char*> remedies;
  Edit edit;
  Level level = Level::error;
};

void PrintTo(const Fault& fault, std::ostream* out)
{
  *out << fault.name;
}

class ConformanceFault : public ConformanceAnnotation, public testing::WithParamInterface<Fault>
{
};

TEST_P(ConformanceFault, IsFoundAloneAndMendedOrLeft)
{
  const Fault& fault = GetParam();
  DcmDataset dataset = sound();
  std::set<std::string> known;
  for (const Finding& finding : check(dataset, &sizes))
    known.insert(finding.rule->code + finding.at);
  fault.edit(dataset);
  EXPECT_EQ(codesOf(dataset, fault.level, known), std::set<std::string>{fault.code});
  const Conformed made = makeConformant(dataset, &sizes);
  std::set<std::string> remedies;
  for (const auto& [code, count] : made.remedies)
    remedies.insert(code);
  EXPECT_EQ(remedies, std::set<std::string>(fault.remedies.begin(), fault.remedies.end()));
  const bool isLeft = fault.level == Level::error && fault.remedies.empty();
  EXPECT_EQ(codesOf(dataset, Level::error), isLeft ? std::set<std::string>{fault.code} : std::set<std::string>());
  EXPECT_EQ(made.left.empty(), !isLeft);
}

constexpr Float32 kNoNumber = std::numeric_limits<Float32>::quiet_NaN();
constexpr Float32 kInfinite = std::numeric_limits<Float32>::infinity();
const std::string kTextValue = kAnchored + "UnformattedTextValue=";
const std::string kSet = "SpecificCharacterSet=";

const std::vector<Fault> kFaults{
    {"SetIsNone", "character-set-unknown", {"texts-made-utf8"}, set({kSet + "ISO_IR 6"})},
    {"SetIsNoneOfLatin1", "character-set-unknown", {}, set({kSet + "ISO-IR 100", kTextValue + "Gr\xFC\xDF"})},
    {"SetsNeedExtensions", "character-set-unknown", {"texts-made-utf8"}, set({kSet + "ISO_IR 100\\ISO_IR 101"})},
    {"Utf8InAscii",
     "text-outside-character-set",
     {"texts-made-utf8"},
     set({"-SpecificCharacterSet", kTextValue + "\xC3\x9F"})},
    {"C1InLatin1",
     "text-outside-character-set",
     {"texts-made-utf8"},
     set({kTextValue + "Gr\xC3\xB6\xC3\x9F"
                       "e"})},
    {"NameInBrokenUtf8",
     "text-outside-character-set",
     {"texts-made-utf8"},
     set({kSet + "ISO_IR 192", "PatientName=M\xFC"})},
    {"Utf8InLatin1", "text-looks-like-utf8", {}, set({kTextValue + "Gr\xC3\xBCn"}), Level::note},
    {"TabInText", "control-character", {"control-characters-removed"}, set({kTextValue + "a\tb"})},
    {"FormFeedInText", "control-character", {"control-characters-removed"}, set({kTextValue + "a\fb"})},
    {"LineBreakInName", "control-character", {"control-characters-removed"}, set({"StudyDescription=a\nb"})},
    {"LongGroupLabel", "text-too-long", {}, set({"GraphicGroupSequence[0].GraphicGroupLabel=" + std::string(65, 'x')})},
    {"LongStudyId", "other-text-too-long", {}, set({"StudyID=12345678901234567"}), Level::note},
    {"NoText", "text-empty", {"text-dropped"}, set({kTextValue})},
    {"BlankText", "text-empty", {"text-dropped"}, set({kTextValue + "  "})},
    {"LongText", "text-object-too-long", {"text-split"}, set({kTextValue + std::string(1025, 'x')})},
    {"NoPlace", "text-place-missing", {}, set({"-" + kAnchored + "AnchorPoint"})},
    {"BoxWithoutUnits", "text-attribute-invalid", {}, set({"-" + kText + "BoundingBoxAnnotationUnits"})},
    {"BoxWithoutJustification",
     "text-attribute-invalid",
     {},
     set({"-" + kText + "BoundingBoxTextHorizontalJustification"})},
    {"BoxOfOneCornerBesideAnAnchor",
     "text-attribute-invalid",
     {},
     set({kAnchored + "BoundingBoxTopLeftHandCorner=1\\1", kAnchored + "BoundingBoxAnnotationUnits=PIXEL",
          kAnchored + "BoundingBoxTextHorizontalJustification=LEFT"})},
    {"AnchorNeitherSeenNorHidden", "text-attribute-invalid", {}, set({"-" + kAnchored + "AnchorPointVisibility"})},
    {"AnchorOfOneNumber", "text-attribute-invalid", {}, set({kAnchored + "AnchorPoint=1"})},
    {"AnchorInMillimeters", "text-attribute-invalid", {}, set({kAnchored + "AnchorPointAnnotationUnits=MM"})},
    {"TrackedWithoutUid", "text-attribute-invalid", {}, set({kText + "TrackingID=a"})},
    {"BoxTurned", "text-box-turned", {}, set({kText + "BoundingBoxTopLeftHandCorner=0.6\\0.1"}), Level::note},
    {"AnchorNoNumberBesideABox",
     "text-place-not-finite",
     {"text-place-removed"},
     putFloats("GraphicAnnotationSequence[0].TextObjectSequence[0].AnchorPoint", {1, kNoNumber})},
    {"AnchorNoNumber",
     "coordinate-not-finite",
     {"graphic-dropped"},
     putFloats(kAnchored + "AnchorPoint", {1, kNoNumber})},
    {"PolylineNoNumber",
     "coordinate-not-finite",
     {"graphic-dropped"},
     putFloats(kClosed + "GraphicData", {1, 2, kNoNumber, 3, 4, 5, 1, 2})},
    {"EllipseInfinite",
     "coordinate-not-finite",
     {"graphic-dropped"},
     putFloats(kEllipse + "GraphicData", {1, 2, 3, kInfinite, 3, 4, 5, 1})},
    {"AxisInfinite",
     "coordinate-not-finite",
     {"graphic-dropped", "empty-sequence-removed"},
     putFloats(kAxis + "GraphicData", {1, 2, 3, -kInfinite})},
    {"DisplayAboveOne", "display-coordinate-outside", {}, set({kText + "BoundingBoxBottomRightHandCorner=1.5\\0.2"})},
    {"MatrixOfAPlainImage", "matrix-units-unfit", {}, set({kCircle + "GraphicAnnotationUnits=MATRIX"})},
    {"UnitsUnknown", "graphic-attribute-invalid", {}, set({kCircle + "GraphicAnnotationUnits=MM"})},
    {"TypeMissing", "graphic-attribute-invalid", {}, set({"-" + kLine + "GraphicType"})},
    {"TypeUnknown", "graphic-attribute-invalid", {}, set({kLine + "GraphicType=SPLINE"})},
    {"DimensionsMissing",
     "graphic-dimensions-invalid",
     {"graphic-dimensions-added"},
     set({"-" + kLine + "GraphicDimensions"})},
    {"DimensionsThree", "graphic-dimensions-invalid", {}, set({kLine + "GraphicDimensions=3"})},
    {"DataUnknownVr",
     "graphic-data-vr",
     {"graphic-data-retyped"},
     putFloats(kLine + "GraphicData", {1, 1, 5, 6, 9, 1}, EVR_UN)},
    {"OutlineLong", "outline-too-long", {"outline-split"}, putFloats(kLine + "GraphicData", spiral(8192))},
    {"OutlineLongUnknownVr",
     "outline-too-long",
     {"outline-split"},
     putFloats(kLine + "GraphicData", spiral(20000), EVR_UN)},
    {"DataOdd", "graphic-data-unfit", {}, set({kLine + "GraphicData=1\\2\\3"})},
    {"DataMissing", "graphic-data-unfit", {}, set({"-" + kLine + "GraphicData"})},
    {"CircleOfThreePoints",
     "graphic-data-unfit",
     {},
     set({kCircle + "GraphicData=1\\2\\3\\4\\5\\6", kCircle + "NumberOfGraphicPoints=3"})},
    {"EllipseOfTwoPoints",
     "graphic-data-unfit",
     {},
     set({kEllipse + "GraphicData=1\\2\\3\\4", kEllipse + "NumberOfGraphicPoints=2"})},
    {"CountTooHigh", "point-count-differs", {"point-count-corrected"}, set({kLine + "NumberOfGraphicPoints=4"})},
    {"CountMissing", "point-count-differs", {"point-count-corrected"}, set({"-" + kLine + "NumberOfGraphicPoints"})},
    {"OnePoint",
     "outline-of-one-point",
     {"outline-made-point"},
     set({kLine + "GraphicData=1\\2", kLine + "NumberOfGraphicPoints=1"})},
    {"CircleUnfilled", "closed-graphic-unfilled", {"graphic-filled-added"}, set({"-" + kCircle + "GraphicFilled"})},
    {"PolylineClosedUnfilled",
     "closed-graphic-unfilled",
     {"graphic-filled-added"},
     set({"-" + kClosed + "GraphicFilled"})},
    {"OpenFilled", "open-graphic-filled", {"graphic-filled-removed"}, set({kLine + "GraphicFilled=Y"})},
    {"ShorterAxisFirst",
     "ellipse-axes-exchanged",
     {"ellipse-axes-ordered"},
     set({kEllipse + "GraphicData=50\\40\\50\\60\\30\\50\\70\\50"})},
    {"AxesAskew",
     "ellipse-axes-askew",
     {},
     set({kEllipse + "GraphicData=30\\50\\70\\50\\60\\42\\40\\58"}),
     Level::note},
    {"OutsideTheImage", "coordinate-outside-image", {}, set({kLine + "GraphicData=-1\\2\\3\\4\\5\\6"}), Level::note},
    {"LineWithoutThickness",
     "line-style-incomplete",
     {"line-style-completed"},
     set({"-GraphicAnnotationSequence[0].GraphicObjectSequence[4].LineStyleSequence[0].LineThickness"})},
    {"LineWithoutColor", "style-invalid", {}, set({"-" + kLineStyle + "PatternOnColorCIELabValue"})},
    {"ShadowWithoutOffset", "style-invalid", {}, set({"-" + kLineStyle + "ShadowOffsetX"})},
    {"DashesWithoutPattern", "style-invalid", {}, set({"-" + kLineStyle + "LinePattern"})},
    {"LineThicknessZero", "style-invalid", {}, set({kLineStyle + "LineThickness=0"})},
    {"OpacityAboveOne", "style-invalid", {}, set({kLineStyle + "PatternOnOpacity=1.5"})},
    {"FillStippledWithoutPattern", "style-invalid", {}, set({kCircle + "FillStyleSequence[0].FillMode=STIPPELED"})},
    {"FontWithoutCss", "style-invalid", {}, set({"-" + kStyle + "CSSFontName"})},
    {"BoldMaybe", "style-invalid", {}, set({kStyle + "Bold=MAYBE"})},
    {"TwoTextStyles", "style-invalid", {}, set({kText + "TextStyleSequence[1].Bold=N"})},
    {"AxisWithoutTicks", "compound-attribute-invalid", {}, set({"-" + kAxis + "MajorTicksSequence"})},
    {"TurnedAboutNoPoint", "compound-attribute-invalid", {}, set({kAxis + "RotationAngle=30"})},
    {"AxisOfThreePoints",
     "compound-data-unfit",
     {},
     set({kAxis + "GraphicData=1\\1\\9\\1\\7\\7", kAxis + "NumberOfGraphicPoints=3"})},
    {"CompoundPrivate", "compound-type-private", {}, set({kAxis + "CompoundGraphicType=SPIRAL"}), Level::note},
    {"CompoundWithoutId", "compound-id-repeated", {}, set({"-" + kAxis + "CompoundGraphicInstanceID"})},
    {"CompoundAlone", "compound-not-rendered", {}, set({kLine + "CompoundGraphicInstanceID=4"})},
    {"GroupWithoutLabel", "graphic-group-invalid", {}, set({"-GraphicGroupSequence[0].GraphicGroupLabel"})},
    {"GroupUnknown", "graphic-group-unknown", {}, set({kText + "GraphicGroupID=8"})},
    {"TextsOfNothing",
     "annotation-sequence-empty",
     {"empty-sequence-removed"},
     set({"-" + kItem + "TextObjectSequence[1]", "-" + kItem + "TextObjectSequence[0]"})},
    {"AnnotationOfNothing",
     "annotation-empty",
     {"annotation-dropped"},
     set({"-" + kItem + "TextObjectSequence", "-" + kItem + "GraphicObjectSequence",
          "-" + kItem + "CompoundGraphicSequence"})},
    {"AnnotationInNoLayer", "annotation-layer-missing", {}, set({"-" + kItem + "GraphicLayer"})},
    {"LayerNotDeclared", "layer-undeclared", {"layer-declared"}, set({kItem + "GraphicLayer=LAYER 3"})},
    {"LayerOfAnOverlay", "layer-undeclared", {"layer-declared"}, set({"(6000,1001)=LAYER 3"})},
    {"LayerTwice",
     "layer-name-invalid",
     {},
     set({"GraphicLayerSequence[2].GraphicLayer=LAYER 2", "GraphicLayerSequence[2].GraphicLayerOrder=6"})},
    {"LayerInSmallLetters",
     "layer-name-invalid",
     {},
     set({"GraphicLayerSequence[1].GraphicLayer=layer", kItem + "GraphicLayer=layer"})},
    {"LayerWithoutOrder",
     "layer-order-invalid",
     {"layer-order-added"},
     set({"-GraphicLayerSequence[1].GraphicLayerOrder"})},
    {"LayerOfTwoColors",
     "layer-color-invalid",
     {},
     set({"GraphicLayerSequence[1].GraphicLayerRecommendedDisplayCIELabValue=1\\2"})},
};

INSTANTIATE_TEST_SUITE_P(Annotation, ConformanceFault, testing::ValuesIn(kFaults),
                         [](const auto& fault) { return std::string(fault.param.name); });
