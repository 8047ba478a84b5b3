#include "picture/drawState.h"

#include "archive/DrawingProcess.h"
#include "db/DBConnectorSql.h"
#include "dicom/dictionary.h"
#include "samples/dicomFile.h"
#include "tests/support/Environment.h"
#include "tests/support/Files.h"
#include "tests/support/TempDir.h"
#include "tests/support/ViewState.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcpixel.h>
#include <dcmtk/dcmdata/dcpixseq.h>
#include <dcmtk/dcmdata/dctk.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

using namespace tarn::picture;

namespace
{

/// 64 x 32 pixels of a slope, 16 bits; the image 1.2.3 of viewState().
std::unique_ptr<DcmDataset> slope()
{
  auto image = std::make_unique<DcmDataset>();
  samples::putTexts(*image, {{DCM_SOPClassUID, UID_CTImageStorage},
                             {DCM_SOPInstanceUID, "1.2.3"},
                             {DCM_PhotometricInterpretation, "MONOCHROME2"},
                             {DCM_SamplesPerPixel, "1"},
                             {DCM_Rows, "32"},
                             {DCM_Columns, "64"},
                             {DCM_BitsAllocated, "16"},
                             {DCM_BitsStored, "16"},
                             {DCM_HighBit, "15"},
                             {DCM_PixelRepresentation, "0"}});
  std::vector<Uint16> pixels(std::size_t{64} * 32);
  for (std::size_t i = 0; i < pixels.size(); ++i)
    pixels[i] = static_cast<Uint16>(i % 64 * 40);
  image->putAndInsertUint16Array(DCM_PixelData, pixels.data(), pixels.size());
  return image;
}

/// What makes of viewState() a view of all of that image, neither turned nor shut.
const std::string kPlain = "ImageRotation=0;PresentationLUTShape=IDENTITY;area.DisplayedAreaTopLeftHandCorner=1\\1;"
                           "area.DisplayedAreaBottomRightHandCorner=64\\32;-ShutterShape;";

class PictureTest : public testing::Test
{
protected:
  static void SetUpTestSuite()
  {
    std::string error;
    ASSERT_TRUE(tarn::dicom::setUpDictionary(error)) << error;
    tarn::dicom::completeDictionary();
  }

  std::string save(const char* name, const DcmDataset& dataset, E_TransferSyntax syntax = EXS_LittleEndianExplicit)
  {
    samples::writeFile(folder / name, samples::encodeFile(dataset, syntax));
    return folder / name;
  }

  /// The picture of viewState() after the steps over an image; the code and the reason where there is none.
  std::string draw(const std::string& steps, const DcmDataset& image, Order order = {})
  {
    const auto state = viewState();
    edit(*state, kPlain + steps);
    order.image = save("image", image);
    return drawn(save("state", *state), order);
  }
  std::string draw(const std::string& steps, const Order& order = {}) { return draw(steps, *slope(), order); }

  std::string drawn(const std::string& state, const Order& order)
  {
    try
    {
      return drawState(state, images, order);
    }
    catch (const Refusal& refusal)
    {
      return refusal.code + ": " + refusal.what();
    }
  }

  TempDir folder;
  ScopedEnvironment repository{"REPOSITORY_DICOM_DATA", std::nullopt};
  tarn::db::DBConnectorSql db{tarn::db::Missing::refuse};
  tarn::images::ImageFiles images{db, folder / "images"};
  Codecs codecs;
};

/// A change of the state, and what stands in the picture then.
struct Fact
{
  const char* name;
  const char* steps;
  const char* expected;
  unsigned size = 128; ///< two picture pixels an image pixel
};

class PictureOf : public PictureTest, public testing::WithParamInterface<Fact>
{
};

const Fact kFacts[] = {
    {"OneMatrix", "", "<image transform=\"matrix(2 0 0 2 0 0)\" x=\"0\" y=\"0\" width=\"64\" height=\"32\""},
    {"SameMatrixForGraphics", "", "<path d=\"M2 2L18 18\" fill=\"none\"/>"},
    {"SaysWhatItIsFor", "", ">For checking, not for diagnosis.</text>"},
    {"AbsurdTurn", "ImageRotation=45", ">The rotation makes no sense: not turned.<"},
    {"PartOfTheImage", "area.DisplayedAreaTopLeftHandCorner=33\\17",
     "matrix(4 0 0 4 -128 -64)\" x=\"32\" y=\"16\" width=\"32\" height=\"16\""},
    {"AreaWithoutColumns", "area.DisplayedAreaBottomRightHandCorner=0\\0",
     ">The displayed area makes no sense: the whole image.<"},
    {"AreaOfAllNumbers",
     "area.DisplayedAreaTopLeftHandCorner=-2147483648\\-2147483648;area.DisplayedAreaBottomRightHandCorner="
     "2147483647\\2147483647",
     "matrix(2 0 0 2 0 0)"},
    {"AreaBesideTheImage", "area.DisplayedAreaTopLeftHandCorner=70\\1;area.DisplayedAreaBottomRightHandCorner=99\\32",
     "matrix(2 0 0 2 0 0)"},
    {"NoArea", "-DisplayedAreaSelectionSequence", ">No displayed area in the state: the whole image.<"},
    {"AreaOfAnotherImage", "+choose area 1.2.4", ">No displayed area in the state: the whole image.<"},
    {"SpacingOfNothing", "area.PresentationPixelSpacing=0\\0", "matrix(2 0 0 2 0 0)"},
    {"Filled", "graphic.GraphicFilled=Y;graphic.GraphicData=1\\1\\9\\9\\1\\9\\1\\1",
     "<path d=\"M2 2L18 18L2 18L2 2Z\" fill-opacity=\"0.35\"/>"},
    {"OpenIsNotFilled", "graphic.GraphicFilled=Y", "<path d=\"M2 2L18 18\" fill=\"none\"/>"},
    {"CoordinatesNotFinite", "graphic.GraphicData=inf\\-inf\\nan\\1e30", "<path d=\"M100000 -100000L0 100000\""},
    {"UnknownGraphic", "graphic.GraphicType=SPLINE", ">1 annotations that cannot be drawn.<"},
    {"NoWindow", "-SoftcopyVOILUTSequence", ">No window in the state: from the least to the greatest value.<"},
    {"WindowWithoutWidth", "window.WindowWidth=0",
     ">The window of the state makes no sense: from the least to the greatest value.<"},
    {"WindowBeyondNumbers", "window.WindowCenter=1e300",
     ">The window of the state makes no sense: from the least to the greatest value.<"},
    {"TableTooShort", "+table window.VOILUTSequence 3;-window.VOILUTSequence.LUTData",
     ">A lookup table makes no sense: not used.<"},
    {"ShutterUnderAnnotations",
     "ShutterShape=RECTANGULAR;ShutterRightVerticalEdge=32;ShutterLowerHorizontalEdge=16;ShutterPresentationValue="
     "65535",
     "fill=\"rgb(255,255,255)\"/>\n<clipPath id=\"shutter0\"><path d=\"M0 0L64 0L64 32L0 32Z\"/>"},
    {"SmallestPicture", "area.DisplayedAreaBottomRightHandCorner=64\\3", "<svg width=\"64\" height=\"16\">", 64},
};

TEST_P(PictureOf, Holds)
{
  const std::string svg = draw(GetParam().steps, {GetParam().size, 1, true, ""});
  EXPECT_NE(svg.find(GetParam().expected), std::string::npos) << std::string(svg).substr(0, 1200);
}
INSTANTIATE_TEST_SUITE_P(Facts, PictureOf, testing::ValuesIn(kFacts), [](const auto& row) { return row.param.name; });

/// Changes of the image or of the state that leave nothing to draw.
struct Refused
{
  const char* name;
  const char* state;
  const char* image;
  const char* expected;
};

class PictureRefused : public PictureTest, public testing::WithParamInterface<Refused>
{
};

const Refused kRefused[] = {
    {"NoState", "SOPClassUID=1.2.840.10008.5.1.4.1.1.2", "", "no-presentation-state: "},
    {"NoReference", "-ReferencedSeriesSequence", "",
     "image-not-referenced: the state does not refer to the image 1.2.3"},
    {"AnotherImage", "", "SOPInstanceUID=1.2.4", "image-not-referenced: the state does not refer to the image 1.2.4"},
    {"FrameThatIsNot", "-ReferencedSeriesSequence;+image 1.2.3 2", "",
     "frame-missing: the image has 1 frames, and the state is for 2"},
    {"FrameThatIsNoNumber", "-ReferencedSeriesSequence;+image 1.2.3 first", "",
     "frame-missing: the state refers to frame first"},
    {"AValueShort", "", "Rows=1;Columns=2049", "pixels-missing: the image announces 4098 bytes of pixels and has 4096"},
    {"AFrameShort", "", "NumberOfFrames=2", "pixels-missing: the image announces 8192 bytes of pixels and has 4096"},
    {"LargerThanMemory", "", "Rows=65535;Columns=65535",
     "image-too-large: the image announces 65535 x 65535 pixels of 1 values"},
    {"NoPixels", "", "-PixelData", "image-without-pixels: the image has no pixels"},
    {"NoRows", "", "-Rows", "image-without-pixels: the image has no pixels"},
    {"BitsThatAreNot", "", "BitsAllocated=8;BitsStored=12;HighBit=99",
     "pixels-unreadable: the pixels cannot be read: "},
};

TEST_P(PictureRefused, WithACode)
{
  const auto image = slope();
  edit(*image, GetParam().image);
  const std::string refusal = draw(GetParam().state, *image);
  EXPECT_EQ(refusal.substr(0, std::string(GetParam().expected).size()), GetParam().expected);
}
INSTANTIATE_TEST_SUITE_P(Codes, PictureRefused, testing::ValuesIn(kRefused),
                         [](const auto& row) { return row.param.name; });

TEST_F(PictureTest, RefusesWhatHasNoDecoder)
{
  constexpr E_TransferSyntax kVideo = EXS_MPEG2MainProfileAtMainLevel;
  const auto image = slope();
  auto* const pixels = new DcmPixelData(DcmTag(DCM_PixelData, EVR_OB));
  pixels->putOriginalRepresentation(kVideo, nullptr, new DcmPixelSequence(DcmTag(DCM_PixelData, EVR_OB)));
  image->insert(pixels, OFTrue);
  const auto state = viewState();
  EXPECT_EQ(drawn(save("state", *state), {512, 1, true, save("image", *image, kVideo)}),
            "compression-unknown: there is no decoder for MPEG2 Main Profile @ Main Level");
}

/// A label, and its line in the picture. Bytes that no character set explains are Latin-1.
TEST_F(PictureTest, LabelsOfAnyBytes)
{
  const std::pair<std::string, std::string> kLabels[] = {
      {"a<b>&\"c\"", "a&lt;b&gt;&amp;\"c\""},
      {"45\xB0", "45\xC2\xB0"},
      {"45\xC2\xB0", "45\xC2\xB0"},
      {std::string("a\x01\x1b[1m\x7f\x80z"), "a[1m\x7Fz"},
      {"\xEF\xBF\xBE\xEF\xBF\xBFx", "x"},
      {"one\r\ntwo", "one</tspan><tspan x=\"20\" y=\"32.55\">two"},
      {"</text><script>", "&lt;/text&gt;&lt;script&gt;"},
  };
  for (const auto& [label, line] : kLabels)
  {
    const auto state = viewState();
    edit(*state, kPlain + "-SpecificCharacterSet;+item "
                          "annotation.TextObjectSequence;text.AnchorPoint=8\\12;text.AnchorPointAnnotationUnits=PIXEL");
    DcmItem* text = nullptr;
    state->findAndGetSequenceItem(DCM_GraphicAnnotationSequence, text);
    text->findAndGetSequenceItem(DCM_TextObjectSequence, text);
    text->putAndInsertString(DCM_UnformattedTextValue, label.c_str());
    const std::string svg = drawn(save("state", *state), {128, 1, true, save("image", *slope())});
    EXPECT_NE(svg.find(">" + line + "</tspan>"), std::string::npos) << svg.substr(svg.find("<text"));
    EXPECT_EQ(drawn(folder / "state", {128, 1, false, folder / "image"}).find("tspan"), std::string::npos);
  }
}

TEST_F(PictureTest, FindsTheImageThatIsAskedFor)
{
  const std::string second = "+image 1.2.4";
  const auto state = viewState();
  edit(*state, kPlain + second);
  const auto other = slope();
  edit(*other, "SOPInstanceUID=1.2.4");
  save("images/1.2.4.dcm", *other);
  save("1.2.3.dcm", *slope());
  edit(*state, "StudyInstanceUID=.."); // it names no other folder
  const std::string file = save("state", *state);
  EXPECT_EQ(drawn(file, {}), "image-not-found: the image 1.2.3 is not found");
  EXPECT_EQ(drawn(file, {512, 2, true, ""}).substr(0, 5), "<?xml");
  EXPECT_EQ(drawn(file, {512, 3, true, ""}), "reference-missing: the state refers to 2 images");
}

TEST(DrawingProcess, IsFollowedByAnotherWhereItDied)
{
  tarn::archive::DrawingProcess process(
      []
      {
        return [](const std::string& state, const std::string& file)
        {
          if (state == "killed")
            _exit(0);
          throw Refusal(state, file);
        };
      });
  EXPECT_EQ(process.draw("a", "1"), "a: 1");
  EXPECT_EQ(process.draw("killed", ""), "crashed: the process that draws died of it");
  EXPECT_EQ(process.draw("b", "2"), "b: 2");
}

} // namespace
