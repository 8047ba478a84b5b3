// The rules for annotations, layers and texts: each finds its fault in a state that is sound otherwise, and mends it.
#include "base/text.h"
#include "conformance/Rule.h"
#include "samples/dicomFile.h"
#include "tests/support/AnnotatedState.h"

#include <limits>
#include <set>

using namespace tarn::conformance;
using tarn::base::trimmed;

namespace
{

/// A fault, the one code that is found, and the codes of the remedies; an error without these is left.
struct Fault
{
  std::string name;
  std::string code;
  std::set<std::string> remedies;
  Edit edit;
};

void PrintTo(const Fault& fault, std::ostream* out)
{
  *out << fault.name;
}

std::vector<std::string> partsOf(const std::string& text, const std::string& separator)
{
  std::vector<std::string> parts;
  std::size_t start = 0;
  for (std::size_t end = 0; end != std::string::npos; start = end + separator.size())
  {
    end = text.find(separator, start);
    parts.push_back(trimmed(text.substr(start, end - start)));
  }
  return parts;
}

// Name | code | remedies | edits, separated by blanks, " + " and " & ". {text} and the like are items of the foreign
// annotations.
constexpr char kRows[] = R"(
SetUndefined | character-set-unknown | texts-made-utf8 | SpecificCharacterSet=ISO_IR 6
SetsAlone | character-set-unknown | texts-made-utf8 | SpecificCharacterSet=ISO_IR 100\ISO_IR 101
LongLabelOfGroup | text-too-long | | GraphicGroupSequence[0].GraphicGroupLabel=123456789 123456789 123456789 123456789 123456789 123456789 12345
LongLabel | text-too-long | | {axis}MajorTicksSequence[0].TickLabel=seventeen letters
LongStudyId | other-text-too-long | | StudyID=12345678901234567
NoText | text-empty | text-dropped | {anchored}UnformattedTextValue=
NoTextElement | text-empty | text-dropped | -{anchored}UnformattedTextValue
NoPlace | text-place-missing | | -{anchored}AnchorPoint
NoBoxUnits | text-attribute-invalid | | -{text}BoundingBoxAnnotationUnits
NoJustification | text-attribute-invalid | | -{text}BoundingBoxTextHorizontalJustification
Justified | text-attribute-invalid | | {text}BoundingBoxTextHorizontalJustification=BLOCK
OneCorner | text-attribute-invalid | | -{text}BoundingBoxBottomRightHandCorner & {text}AnchorPoint=0\0 & {text}AnchorPointAnnotationUnits=PIXEL & {text}AnchorPointVisibility=N
NoVisibility | text-attribute-invalid | | -{anchored}AnchorPointVisibility
AnchorOfOneNumber | text-attribute-invalid | | {anchored}AnchorPoint=1
AnchorInMillimeters | text-attribute-invalid | | {anchored}AnchorPointAnnotationUnits=MM
TrackedWithoutUid | text-attribute-invalid | | {text}TrackingID=a
BoxTurned | text-box-turned | | {text}BoundingBoxTopLeftHandCorner=0.6\0.1
DisplayAboveOne | display-coordinate-outside | | {text}BoundingBoxBottomRightHandCorner=1.5\0.2
MatrixOfAPlainImage | matrix-units-unfit | | {circle}GraphicAnnotationUnits=MATRIX
OutsideTheImage | coordinate-outside-image | | {line}GraphicData=-1\2\3\4\5\6
UnitsUnknown | graphic-attribute-invalid | | {circle}GraphicAnnotationUnits=MM
TypeMissing | graphic-attribute-invalid | | -{line}GraphicType
TypeUnknown | graphic-attribute-invalid | | {line}GraphicType=SPLINE
DimensionsMissing | graphic-dimensions-invalid | graphic-dimensions-added | -{line}GraphicDimensions
DimensionsThree | graphic-dimensions-invalid | | {line}GraphicDimensions=3
DataOdd | graphic-data-unfit | | {line}GraphicData=1\2\3
DataMissing | graphic-data-unfit | | -{line}GraphicData
CircleOfThreePoints | graphic-data-unfit | | {circle}GraphicData=1\2\3\4\5\6 & {circle}NumberOfGraphicPoints=3
EllipseOfTwoPoints | graphic-data-unfit | | {ellipse}GraphicData=1\2\3\4 & {ellipse}NumberOfGraphicPoints=2
CountTooHigh | point-count-differs | point-count-corrected | {line}NumberOfGraphicPoints=4
CountMissing | point-count-differs | point-count-corrected | -{line}NumberOfGraphicPoints
CompoundCount | point-count-differs | point-count-corrected | {axis}NumberOfGraphicPoints=3
OnePoint | outline-of-one-point | outline-made-point | {line}GraphicData=1\2 & {line}NumberOfGraphicPoints=1
CircleUnfilled | closed-graphic-unfilled | graphic-filled-added | -{circle}GraphicFilled
PolylineUnfilled | closed-graphic-unfilled | graphic-filled-added | -{closed}GraphicFilled
FilledMaybe | closed-graphic-unfilled | graphic-filled-added | {closed}GraphicFilled=MAYBE
OpenFilled | open-graphic-filled | graphic-filled-removed | {line}GraphicFilled=Y
ShortAxisFirst | ellipse-axes-exchanged | ellipse-axes-ordered | {ellipse}GraphicData=50\40\50\60\30\50\70\50
AxesAskew | ellipse-axes-askew | | {ellipse}GraphicData=30\50\70\50\60\42\40\58
NoThickness | line-style-incomplete | line-style-completed | -GraphicAnnotationSequence[0].GraphicObjectSequence[4].LineStyleSequence[0].LineThickness
NoColor | style-invalid | | -{line}LineStyleSequence[0].PatternOnColorCIELabValue
NoShadowOffset | style-invalid | | -{line}LineStyleSequence[0].ShadowOffsetX
NoLinePattern | style-invalid | | -{line}LineStyleSequence[0].LinePattern
ThicknessZero | style-invalid | | {line}LineStyleSequence[0].LineThickness=0
OpacityAboveOne | style-invalid | | {line}LineStyleSequence[0].PatternOnOpacity=1.5
NoFillPattern | style-invalid | | {circle}FillStyleSequence[0].FillMode=STIPPELED
NoCssFont | style-invalid | | -{text}TextStyleSequence[0].CSSFontName
BoldMaybe | style-invalid | | {text}TextStyleSequence[0].Bold=MAYBE
TwoTextStyles | style-invalid | | {text}TextStyleSequence[1].Bold=N
NoTicks | compound-attribute-invalid | | -{axis}MajorTicksSequence
NoRotationPoint | compound-attribute-invalid | | {axis}RotationAngle=30
AxisOfThreePoints | compound-data-unfit | | {axis}GraphicData=1\1\9\1\7\7 & {axis}NumberOfGraphicPoints=3
CompoundPrivate | compound-type-private | | {axis}CompoundGraphicType=SPIRAL
CompoundWithoutId | compound-id-repeated | | -{axis}CompoundGraphicInstanceID
CompoundAlone | compound-not-rendered | | {line}CompoundGraphicInstanceID=4
GroupWithoutLabel | graphic-group-invalid | | -GraphicGroupSequence[0].GraphicGroupLabel
GroupUnknown | graphic-group-unknown | | {text}GraphicGroupID=8
TextsOfNothing | annotation-sequence-empty | empty-sequence-removed | -{item}TextObjectSequence[1] & -{item}TextObjectSequence[0]
NothingDrawn | annotation-empty | annotation-dropped | -{item}TextObjectSequence & -{item}GraphicObjectSequence & -{item}CompoundGraphicSequence
InNoLayer | annotation-layer-missing | | -{item}GraphicLayer
NotDeclared | layer-undeclared | layer-declared | {item}GraphicLayer=LAYER 3
LayerOfAnOverlay | layer-undeclared | layer-declared | (6000,1001)=LAYER 3
LayerTwice | layer-name-invalid | | {layer}2].GraphicLayer=LAYER 2 & {layer}2].GraphicLayerOrder=6
LayerInSmallLetters | layer-name-invalid | | {layer}1].GraphicLayer=layer & {item}GraphicLayer=layer
NoOrder | layer-order-invalid | layer-order-added | -{layer}1].GraphicLayerOrder
TwoColors | layer-color-invalid | | {layer}1].GraphicLayerRecommendedDisplayCIELabValue=1\2
)";

const std::string kItem = "GraphicAnnotationSequence[1].";
const std::string kAnchored = kItem + "TextObjectSequence[1].";

std::string spelledOut(std::string path)
{
  const std::string graphic = kItem + "GraphicObjectSequence[";
  const std::vector<std::pair<std::string, std::string>> items{{"{item}", kItem},
                                                               {"{text}", kItem + "TextObjectSequence[0]."},
                                                               {"{anchored}", kAnchored},
                                                               {"{circle}", graphic + "1]."},
                                                               {"{line}", graphic + "2]."},
                                                               {"{closed}", graphic + "3]."},
                                                               {"{ellipse}", graphic + "4]."},
                                                               {"{axis}", kItem + "CompoundGraphicSequence[0]."},
                                                               {"{layer}", "GraphicLayerSequence["}};
  for (const auto& [name, meant] : items)
    if (const std::size_t place = path.find(name); place != std::string::npos)
      path.replace(place, name.size(), meant);
  return path;
}

std::set<std::string> codes(const std::string& text)
{
  return text.empty() ? std::set<std::string>() : std::set<std::string>{text};
}

/// What cannot stand in a row: bytes, long values and numbers that are none.
std::vector<Fault> otherFaults()
{
  constexpr Float32 kNone = std::numeric_limits<Float32>::quiet_NaN();
  constexpr Float32 kInfinite = std::numeric_limits<Float32>::infinity();
  const auto text = [](const std::string& value) { return set({kAnchored + "UnformattedTextValue=" + value}); };
  const auto data = [](const std::string& item, const std::vector<Float32>& values, DcmEVR vr = EVR_FL)
  { return putFloats(spelledOut(item) + "GraphicData", values, vr); };
  const auto outline = [](std::size_t points)
  {
    std::vector<Float32> values(2 * points);
    for (std::size_t i = 0; i < values.size(); ++i)
      values[i] = static_cast<Float32>(i) / 256.0F; // in the image, and no piece is closed
    return values;
  };
  const std::string utf8 = "text-outside-character-set";
  const std::string control = "control-character";
  const std::string finite = "coordinate-not-finite";
  const std::string box = "GraphicAnnotationSequence[0].TextObjectSequence[0].";
  return {
      {"Latin1InUndefined", "character-set-unknown", {}, set({"SpecificCharacterSet=A", "PatientName=\xFC"})},
      {"Utf8InAscii", utf8, {"texts-made-utf8"}, set({"-SpecificCharacterSet", "PatientName=\xC3\x9F"})},
      {"C1InLatin1", utf8, {"texts-made-utf8"}, text("Gr\xC3\xB6\xC3\x9F")},
      {"BrokenUtf8", utf8, {"texts-made-utf8"}, set({"SpecificCharacterSet=ISO_IR 192", "PatientName=M\xFC"})},
      {"Utf8InLatin1", "text-looks-like-utf8", {}, text("Gr\xC3\xBCn")},
      {"TabInText", control, {"control-characters-removed"}, text("a\tb")},
      {"FormFeedInText", control, {"control-characters-removed"}, text("a\fb")},
      {"LineBreakInName", control, {"control-characters-removed"}, set({"StudyDescription=a\nb"})},
      {"BlankText", "text-empty", {"text-dropped"}, text("  ")},
      {"LineBreakForText", "text-empty", {"text-dropped"}, text("\r\n ")},
      {"LongText", "text-object-too-long", {"text-split"}, text(std::string(1025, 'x'))},
      {"NoAnchorButABox", "text-place-not-finite", {"text-place-removed"}, putFloats(box + "AnchorPoint", {1, kNone})},
      {"NoBoxButAnAnchor",
       "text-place-not-finite",
       {"text-place-removed"},
       putFloats(box + "BoundingBoxTopLeftHandCorner", {kInfinite, 1})},
      {"NoAnchor", finite, {"graphic-dropped"}, putFloats(kAnchored + "AnchorPoint", {1, kNone})},
      {"Polyline", finite, {"graphic-dropped"}, data("{closed}", {1, 2, kNone, 3, 4, 5, 1, 2})},
      {"Ellipse", finite, {"graphic-dropped"}, data("{ellipse}", {1, 2, 3, kInfinite, 3, 4, 5, 1})},
      {"Axis", finite, {"graphic-dropped", "empty-sequence-removed"}, data("{axis}", {1, 2, 3, -kInfinite})},
      {"UnknownVr", "graphic-data-vr", {"graphic-data-retyped"}, data("{line}", {1, 1, 5, 6, 9, 1}, EVR_UN)},
      {"Outline", "outline-too-long", {"outline-split"}, data("{line}", outline(8192))},
      {"OutlineUnknownVr", "outline-too-long", {"outline-split"}, data("{line}", outline(20000), EVR_UN)},
  };
}

std::vector<Fault> allFaults()
{
  std::vector<Fault> faults = otherFaults();
  for (const std::string& row : partsOf(trimmed(kRows, "\n"), "\n"))
  {
    const std::vector<std::string> columns = partsOf(row, "|");
    std::vector<std::string> edits = partsOf(columns.at(3), " & ");
    std::transform(edits.begin(), edits.end(), edits.begin(), spelledOut);
    faults.push_back({columns[0], columns[1], codes(columns[2]), set(edits)});
  }
  return faults;
}

class ConformanceAnnotation : public AnnotatedState, public testing::WithParamInterface<Fault>
{
protected:
  /// The codes of what is found, but not at the places in `known`.
  std::set<std::string> codesOf(DcmDataset& dataset, const std::set<std::string>& known = {})
  {
    std::set<std::string> found;
    for (const Finding& finding : check(dataset, this))
      if (known.empty() ? finding.rule->level == Level::error : known.count(finding.rule->code + finding.at) == 0)
        found.insert(finding.rule->code);
    return found;
  }

  bool isError(const std::string& code)
  {
    return std::any_of(rules().begin(), rules().end(),
                       [&](const Rule& rule) { return rule.code == code && rule.level == Level::error; });
  }
};

} // namespace

TEST_F(ConformanceAnnotation, LeavesASoundStateAsItIsByteForByte)
{
  DcmDataset dataset = sound();
  EXPECT_EQ(codesOf(dataset), std::set<std::string>());
  const std::string before = samples::encodeFile(dataset, EXS_LittleEndianExplicit);
  EXPECT_TRUE(makeConformant(dataset, this).remedies.empty());
  EXPECT_EQ(samples::encodeFile(dataset, EXS_LittleEndianExplicit), before);
}

TEST_P(ConformanceAnnotation, FaultIsFoundAloneAndMendedOrLeft)
{
  const Fault& fault = GetParam();
  DcmDataset dataset = sound();
  std::set<std::string> known;
  for (const Finding& finding : check(dataset, this))
    known.insert(finding.rule->code + finding.at);
  fault.edit(dataset);
  EXPECT_EQ(codesOf(dataset, known), std::set<std::string>{fault.code});
  const Conformed made = makeConformant(dataset, this);
  std::set<std::string> remedies;
  for (const auto& [code, count] : made.remedies)
    remedies.insert(code);
  EXPECT_EQ(remedies, fault.remedies);
  const bool isLeft = isError(fault.code) && fault.remedies.empty();
  EXPECT_EQ(codesOf(dataset), isLeft ? std::set<std::string>{fault.code} : std::set<std::string>());
  EXPECT_EQ(made.left.empty(), !isLeft);
}

INSTANTIATE_TEST_SUITE_P(Annotation, ConformanceAnnotation, testing::ValuesIn(allFaults()),
                         [](const auto& fault) { return fault.param.name; });
