// Long texts and outlines become pieces, texts that do not fit UTF-8, and nothing is lost.
#include "samples/dicomFile.h"
#include "tests/support/AnnotatedState.h"

#include <array>
#include <numeric>

using namespace tarn::conformance;

namespace
{

const std::string kItem = "GraphicAnnotationSequence[1].";
const std::string kAnchored = kItem + "TextObjectSequence[1].";

std::vector<Float32> spiral(std::size_t points)
{
  std::vector<Float32> values(2 * points);
  std::iota(values.begin(), values.end(), 0.0F);
  std::transform(values.begin(), values.end(), values.begin(), [](Float32 value) { return value / 256.0F; });
  return values;
}

} // namespace

using ConformanceTexts = AnnotatedState;

TEST_F(ConformanceTexts, LongTextsArePiecesBelowEachOtherThatMakeUpTheText)
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
    EXPECT_TRUE(makeConformant(dataset, this).left.empty()) << terms;
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

TEST_F(ConformanceTexts, PiecesOfAnOutlineShareAPointAndStayInOrder)
{
  DcmDataset dataset = sound();
  const std::vector<Float32> points = spiral(20000);
  putFloats(kItem + "GraphicObjectSequence[2].GraphicData", points)(dataset);
  EXPECT_TRUE(makeConformant(dataset, this).left.empty());
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
TEST_F(ConformanceTexts, OneTextThatDoesNotFitMakesAllUtf8)
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
    const Conformed made = makeConformant(dataset, this);
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

TEST_F(ConformanceTexts, ALayerGoesWithItsLastObjectAndStaysWhereItNeverHadOne)
{
  DcmDataset dataset = sound();
  const std::string lost = "GraphicAnnotationSequence[2].";
  set({"GraphicLayerSequence[2].GraphicLayer=BARE", "GraphicLayerSequence[2].GraphicLayerOrder=2",
       "GraphicLayerSequence[3].GraphicLayer=LOST", "GraphicLayerSequence[3].GraphicLayerOrder=3",
       lost + "GraphicLayer=LOST", lost + "TextObjectSequence[0].UnformattedTextValue=",
       lost + "TextObjectSequence[0].AnchorPoint=1\\1", lost + "TextObjectSequence[0].AnchorPointVisibility=N",
       lost + "TextObjectSequence[0].AnchorPointAnnotationUnits=PIXEL"})(dataset);
  const Conformed made = makeConformant(dataset, this);
  EXPECT_EQ(made.remedies, (std::map<std::string, std::uint64_t>{
                               {"annotation-dropped", 1}, {"empty-sequence-removed", 1}, {"text-dropped", 1}}));
  EXPECT_EQ(describe(dataset, {DCM_GraphicLayerSequence}).find("LOST"), std::string::npos);
  EXPECT_NE(describe(dataset, {DCM_GraphicLayerSequence}).find("BARE"), std::string::npos);
}

TEST_F(ConformanceTexts, WhatTheToolkitCannotDecodeIsLeftAsItIs)
{
  DcmDataset dataset = sound();
  set({"SpecificCharacterSet=\\ISO 2022 IR 87", "PatientName=Yamada^Tarou=\x1B$B;3ED\x1B(B^\x1B$BB@O:\x1B(B"})(dataset);
  const std::string before = samples::encodeFile(dataset, EXS_LittleEndianExplicit);
  const Conformed made = makeConformant(dataset, this);
  EXPECT_TRUE(made.remedies.empty());
  EXPECT_TRUE(made.left.empty());
  EXPECT_EQ(samples::encodeFile(dataset, EXS_LittleEndianExplicit), before);
}
