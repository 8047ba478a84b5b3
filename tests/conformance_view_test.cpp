#include "conformance/Rule.h"
#include "conformance/conform.h"
#include "tests/support/ViewState.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

using namespace tarn::conformance;

namespace
{

const std::string kRescaleGone = "-RescaleSlope;-RescaleIntercept;-RescaleType;";
const std::string kWindowGone = "-window.WindowCenter;-window.WindowWidth;-window.VOILUTFunction;";
const std::string kFrames = "-ReferencedSeriesSequence;+image 1.2.5 1\\2;"; ///< two frames of ten
const std::string kUnknown = "image.ReferencedSOPInstanceUID=1.2.7;";       ///< an image whose size is not known
const std::string kFit = "area.PresentationSizeMode=SCALE TO FIT;-area.PresentationPixelSpacing;";
const std::string kBitmap =
    "ShutterShape=BITMAP;ShutterOverlayGroup=24576;-ShutterLeftVerticalEdge;-ShutterRightVerticalEdge;"
    "-ShutterUpperHorizontalEdge;-ShutterLowerHorizontalEdge;-CenterOfCircularShutter;-RadiusOfCircularShutter;"
    "-VerticesOfThePolygonalShutter;"; // group 6000H

/// A sound state, and what makes it another sound one.
const std::pair<const char*, std::string> kSound[] = {
    {"every module", ""},
    {"no window and no transformation",
     "-SoftcopyVOILUTSequence;-ImageRotation;-ImageHorizontalFlip;area.DisplayedAreaTopLeftHandCorner=1\\1;"
     "area.DisplayedAreaBottomRightHandCorner=512\\256"},
    {"an area for each of two images", "+image 1.2.6;+choose area 1.2.3;+area 1.2.6"},
    {"an area for each of two frames", kFrames + "+choose area 1.2.5 1;+area 1.2.5 2"},
    {"a window for one of two frames", kFrames + "+choose window 1.2.5 2"},
    {"a magnified part, which reaches beyond the image",
     "area.DisplayedAreaTopLeftHandCorner=-99\\900;area.PresentationSizeMode=MAGNIFY;"
     "area.PresentationPixelMagnificationRatio=2.5"},
    {"an aspect ratio", kFit + "area.PresentationPixelAspectRatio=4\\3"},
    {"tables in all stages", kRescaleGone + kWindowGone +
                                 "+table ModalityLUTSequence 4096;ModalityLUTSequence.ModalityLUTType=HU;+table "
                                 "window.VOILUTSequence 3;-PresentationLUTShape;+table PresentationLUTSequence 256"},
    {"a narrow exact window", "window.VOILUTFunction=LINEAR_EXACT;window.WindowWidth=0.5"},
    {"an icon with pixels", "+item IconImageSequence;+pixels IconImageSequence"},
    {"a bitmap shutter", kBitmap + "-OverlayActivationLayer"},
    {"a mask", kFrames +
                   "RecommendedViewingMode=SUB;+item MaskSubtractionSequence;MaskSubtractionSequence.MaskOperation="
                   "AVG_SUB;MaskSubtractionSequence.MaskFrameNumbers=1;"
                   "MaskSubtractionSequence.ContrastFrameAveraging=1"},
};

/// Steps that break a rule of a sound state. `shown` is what the remedy makes of the edited state: "Name=value", or
/// "-Name" for an element that is gone; "stays" where the rule has a remedy, but not here.
struct Fault
{
  const char* fact;
  const char* code;
  std::string steps;
  const char* shown = "";
  std::set<std::string> others = {}; ///< codes that come with the fault
};

const std::string kLong = "123456789 123456789 123456789 123456789 123456789 123456789 1234";

const Fault kFaults[] = {
    {"another class", "class-unfit", "SOPClassUID=1.2.840.10008.5.1.4.1.1.11.10"},
    {"a UID cut at a point", "uid-invalid", "SOPInstanceUID=1.2."},
    {"no study", "uid-invalid", "-StudyInstanceUID"},
    {"a needless 0", "uid-invalid", "SeriesInstanceUID=1.02.3"},
    {"another modality", "modality-unfit", "Modality=CT", "Modality=PR"},
    {"no label", "content-label-missing", "-ContentLabel", "ContentLabel=ANNOTATIONS"},
    {"no code", "content-label-unfit", "ContentLabel=the reader's view of", "ContentLabel=THE READER_S VIE"},
    {"no instance number", "instance-number-missing", "InstanceNumber="},
    {"no date", "creation-date-missing", "-PresentationCreationDate", "PresentationCreationDate=20200102"},
    {"no time, none of the study", "creation-date-missing",
     "PresentationCreationTime=;StudyTime=", "PresentationCreationTime=1200"},
    {"no date anywhere", "creation-date-missing", "-PresentationCreationDate;StudyDate=;SeriesDate=", "stays"},
    {"no patient's identity", "type-2-missing", "-PatientID", "PatientID="},
    {"a date that is none", "header-value-unfit", "StudyDate=20201340"},
    {"two patients", "header-value-unfit", "PatientID=1\\2"},
    {"an unknown sex", "header-value-unfit", "PatientSex=X"},
    {"a number as text",
     "vr-unfit",
     "ImageRotation:LO=90",
     "ImageRotation=90",
     {"area-corners-unturned", "transformation-unfit"}},
    {"a text as a number", "vr-unfit", "window.WindowWidth:FD=400", "WindowWidth=400"},
    {"pixels", "pixel-data-present", "FloatPixelData=1", "-FloatPixelData"},
    {"a long description", "description-too-long", "StudyDescription=" + kLong + "5", "", {"other-text-too-long"}},
    {"a hand without a side", "laterality-missing", "-Laterality", "Laterality="},
    {"no side of a chest", "laterality-needless", "Laterality=;BodyPartExamined=CHEST", "-Laterality"},
    {"no name", "patient-name-empty", "PatientName="},
    {"an empty block", "private-block-empty", "f215,0010:LO=PB group A", "-f215,0010"},

    {"no series", "reference-missing", "-ReferencedSeriesSequence"},
    {"an empty class", "reference-uid-invalid", "image.ReferencedSOPClassUID="},
    {"a UID under 9", "reference-uid-invalid", "image.ReferencedSOPInstanceUID=9.5"},
    {"a frame of a CT", "frame-number-unfit", "image.ReferencedFrameNumber=1", "-ReferencedFrameNumber"},
    {"a frame behind the last", "frame-number-unfit", kFrames + "image.ReferencedFrameNumber=11"},
    {"an image twice", "image-twice", "+image 1.2.3"},
    {"an area of another image", "item-elsewhere", "+area 1.2.4", "", {"area-twice", "item-reference-elsewhere"}},
    {"a window of another image", "item-reference-elsewhere", "+choose window 1.2.4", "WindowCenter=40"},
    {"an annotation of the one image", "item-reference-needless", "+choose annotation 1.2.3"},
    {"two classes of an image", "item-reference-class-differs",
     kFrames +
         "+choose window 1.2.5 1;window.ReferencedImageSequence.ReferencedSOPClassUID=1.2.840.10008.5.1.4.1.1.4.1"},

    {"a flip alone", "transformation-incomplete", "-ImageRotation", "ImageRotation=0", {"area-corners-unturned"}},
    {"a rotation alone", "transformation-incomplete", "-ImageHorizontalFlip", "ImageHorizontalFlip=N"},
    {"a rotation by 45", "transformation-unfit", "ImageRotation=45", "", {"area-corners-unturned"}},
    {"a flip of another letter", "transformation-unfit", "ImageHorizontalFlip=X"},
    {"no area", "area-missing", "-DisplayedAreaSelectionSequence", "DisplayedAreaTopLeftHandCorner=1\\256"},
    {"a corner of 0", "area-corners-missing", "area.DisplayedAreaBottomRightHandCorner=0\\0",
     "DisplayedAreaBottomRightHandCorner=512\\1"},
    {"no corner and no size, an area before",
     "area-corners-missing",
     kUnknown + "+area;-DisplayedAreaSelectionSequence#1.DisplayedAreaTopLeftHandCorner",
     "DisplayedAreaTopLeftHandCorner=1\\256",
     {"area-twice"}},
    {"no corner and no size", "area-corners-missing", kUnknown + "-area.DisplayedAreaTopLeftHandCorner", "stays"},
    {"two areas of the image", "area-twice", "+area;area.PresentationPixelSpacing=7\\7",
     "PresentationPixelSpacing=0.5\\0.5"},
    {"two areas of one of two images", "area-twice", "+image 1.2.4;+area 1.2.4", "stays"},
    {"an image without an area", "area-missing-for-image", "+image 1.2.4;+choose area 1.2.3"},
    {"upright corners of a turned image", "area-corners-unturned",
     "area.DisplayedAreaTopLeftHandCorner=1\\1;area.DisplayedAreaBottomRightHandCorner=512\\256",
     "DisplayedAreaTopLeftHandCorner=1\\256"},
    {"pixels from 0", "area-corner-zero", "area.DisplayedAreaTopLeftHandCorner=0\\256"},
    {"an area of two sizes", "area-sizes-differ", "+image 1.2.6"},
    {"no size mode", "size-mode-unfit", "-area.PresentationSizeMode", "PresentationSizeMode=SCALE TO FIT"},
    {"a spacing of 0", "pixel-spacing-unfit", "area.PresentationPixelSpacing=0\\1",
     "PresentationPixelAspectRatio=1\\1"},
    {"an infinite spacing", "pixel-spacing-unfit", "area.PresentationPixelSpacing=inf\\1"},
    {"a ratio beside the spacing", "aspect-ratio-needless", "area.PresentationPixelAspectRatio=1\\1",
     "-PresentationPixelAspectRatio"},
    {"neither spacing nor ratio", "aspect-ratio-missing", kFit, "PresentationPixelAspectRatio=1\\1"},
    {"MAGNIFY by nothing", "magnification-missing", "area.PresentationSizeMode=MAGNIFY",
     "PresentationSizeMode=SCALE TO FIT"},
    {"TRUE SIZE magnified", "magnification-needless", "area.PresentationPixelMagnificationRatio=2",
     "-PresentationPixelMagnificationRatio"},
    {"TRUE SIZE of unknown pixels", "true-size-without-spacing",
     "-area.PresentationPixelSpacing;area.PresentationPixelAspectRatio=1\\1", "PresentationSizeMode=SCALE TO FIT"},
    {"an unknown origin", "pixel-origin-unfit", "area.PixelOriginInterpretation=IMAGE",
     "PixelOriginInterpretation=FRAME"},

    {"a rescale without a type", "rescale-incomplete", "-RescaleType", "RescaleType=US"},
    {"a rescale by 0", "rescale-incomplete", "RescaleSlope=0", "stays"},
    {"a rescale and a table", "modality-lut-twice",
     "+table ModalityLUTSequence 4;ModalityLUTSequence.ModalityLUTType=HU"},
    {"a table without a type", "modality-table-unfit", kRescaleGone + "+table ModalityLUTSequence 4"},
    {"a window of stored values", "window-on-stored-values", kRescaleGone},
    {"a centre alone", "window-incomplete", "-window.WindowWidth", "-SoftcopyVOILUTSequence", {"window-missing"}},
    {"no window", "window-missing", "+item SoftcopyVOILUTSequence", "WindowCenter=40", {"window-twice"}},
    {"two windows", "window-twice",
     "+item SoftcopyVOILUTSequence;SoftcopyVOILUTSequence#1.WindowCenter=1;SoftcopyVOILUTSequence#1.WindowWidth=2",
     "WindowCenter=40"},
    {"a window and a table", "window-and-table", "+table window.VOILUTSequence 3", "-VOILUTSequence"},
    {"several windows", "window-several", "window.WindowCenter=40\\50;window.WindowWidth=400\\500", "WindowWidth=400"},
    {"several explanations", "window-several", "window.WindowCenterWidthExplanation=A\\B"},
    {"an unknown function", "window-function-unfit", "window.VOILUTFunction=CUBIC"},
    {"a negative width", "window-width-unfit", "window.WindowWidth=-4", "WindowWidth=1"},
    {"more entries than there are", "window-table-unfit",
     kWindowGone + "+table window.VOILUTSequence 3;window.VOILUTSequence.LUTDescriptor:US=4\\0\\16"},
    {"a shape beside a table", "presentation-lut-twice", "+table PresentationLUTSequence 3",
     "-PresentationLUTSequence"},
    {"no shape", "presentation-lut-missing", "-PresentationLUTShape", "PresentationLUTShape=IDENTITY"},
    {"an unknown shape", "presentation-lut-shape-unfit", "PresentationLUTShape=LIN OD"},
    {"two tables", "presentation-table-unfit",
     "-PresentationLUTShape;+table PresentationLUTSequence 3;+table PresentationLUTSequence 3"},

    {"an unknown shutter", "shutter-shape-unfit", "ShutterShape=RECTANGULAR\\CIRCULAR\\POLYGONAL\\OVAL"},
    {"edges without a shape", "shutter-shape-unfit", "-ShutterShape"},
    {"corners of no shape", "shutter-part-needless", "ShutterShape=CIRCULAR", "-VerticesOfThePolygonalShutter"},
    {"a circle without a radius", "shutter-geometry-unfit", "-RadiusOfCircularShutter"},
    {"edges the wrong way round", "shutter-geometry-unfit", "ShutterLeftVerticalEdge=513"},
    {"a polygon of two corners", "shutter-geometry-unfit", "VerticesOfThePolygonalShutter=1\\1\\9\\9"},
    {"a shutter of no grey", "shutter-value-missing", "-ShutterPresentationValue", "ShutterPresentationValue=0"},
    {"a bitmap that is nowhere", "shutter-overlay-unfit", kBitmap + "ShutterOverlayGroup=24578"},
    {"a bitmap that is drawn", "shutter-overlay-unfit", kBitmap},
    {"a mask of nothing", "mask-unfit", "+item MaskSubtractionSequence"},
    {"an overlay without data", "overlay-unfit", "-OverlayData"},
    {"an overlay longer than its data", "overlay-unfit", "OverlayRows=400"},
    {"an undeclared layer of an overlay", "layer-undeclared", "OverlayActivationLayer=OTHER"},
};

std::set<std::string> codesOf(const std::vector<Finding>& findings)
{
  std::set<std::string> codes;
  for (const Finding& finding : findings)
    codes.insert(finding.code);
  return codes;
}

/// The element that "Name=value" or "-Name" names, wherever it stands, in the same form.
std::string shownOf(DcmDataset& state, const std::string& expected)
{
  const std::size_t start = expected[0] == '-' ? 1 : 0;
  const std::string name = expected.substr(start, expected.find('=') - start);
  DcmTag tag;
  DcmTag::findTagFromName(name.c_str(), tag);
  OFString value;
  if (!state.tagExists(tag, true))
    return "-" + name;
  state.findAndGetOFStringArray(tag, value, true);
  return name + "=" + value.c_str();
}

TEST(ConformanceView, FindsNothingInASoundState)
{
  for (const auto& [fact, steps] : kSound)
  {
    SCOPED_TRACE(fact);
    ViewSizes sizes;
    const auto state = viewState();
    edit(*state, steps);
    for (const Finding& finding : check(*state, &sizes))
      ADD_FAILURE() << finding.code << " at " << finding.at << ": " << finding.text;
    EXPECT_TRUE(makeConformant(*state, &sizes).remedies.empty());
  }
}

TEST(ConformanceView, FindsAFaultAndMendsIt)
{
  for (const Fault& row : kFaults)
  {
    SCOPED_TRACE(row.fact);
    ViewSizes sizes;
    const auto state = viewState();
    edit(*state, row.steps);
    auto codes = row.others;
    codes.insert(row.code);
    EXPECT_EQ(codes, codesOf(check(*state, &sizes)));

    const auto isRow = [&row](const Rule& rule) { return rule.code == std::string(row.code); };
    const Rule& rule = *std::find_if(rules().begin(), rules().end(), isRow);
    const std::string shown = row.shown;
    const bool isMended = rule.remedy && shown != "stays";
    const Conformed result = makeConformant(*state, &sizes);
    EXPECT_EQ(isMended, rule.remedy && result.remedies.count(rule.remedy) > 0);
    EXPECT_EQ(!isMended && rule.level == Level::error, codesOf(result.left).count(row.code) > 0);
    EXPECT_TRUE(!isMended || check(*state, &sizes).empty());
    EXPECT_EQ(shown, isMended && !shown.empty() ? shownOf(*state, shown) : shown);
  }
}

/// What is shown at the top left of an image of 512 columns and 256 rows (PS3.3 C.10.4), by rotation, then flipped.
TEST(ConformanceView, TurnsCornersWithTheImage)
{
  const char* const kTopLeft[] = {"1\\1", "1\\256", "512\\256", "512\\1", "512\\1", "1\\1", "1\\256", "512\\256"};
  for (std::size_t code = 0; code < std::size(kTopLeft); ++code)
  {
    ViewSizes sizes;
    const auto state = viewState();
    edit(*state, "ImageRotation=" + std::to_string(code % 4 * 90) + ";ImageHorizontalFlip=" + (code < 4 ? "N" : "Y"));
    makeConformant(*state, &sizes);
    const std::string expected = std::string("DisplayedAreaTopLeftHandCorner=") + kTopLeft[code];
    EXPECT_EQ(expected, shownOf(*state, expected));
  }
}

} // namespace
