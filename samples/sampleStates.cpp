// The presentation states of the sample archive: every kind of annotation, several images, odd encodings.
#include "samples/SampleState.h"

#include "samples/SampleImage.h"
#include "samples/study.h"

// Annotation lines: kind, index, colour, base point, show index, show value, index anchor, value anchor, orientation,
// then after the bar what the kind adds. Labels are URL-encoded within their line.
namespace samples
{
namespace
{

std::string idLine(const std::string& objectName)
{
  return "ID " + std::string(kStudyUid) + "/" + objectName + "_1";
}

std::string torso(int slice)
{
  return idLine(SampleImage{"CT", slice, 256, 256}.name());
}

std::string spine()
{
  return idLine(SampleImage{"MR", 1, 128, 192}.name());
}

const std::vector<Figure> kAllKinds = {{
    torso(3),
    "light 400 40 0 1",
    "sized 256 256 1 0",
    "pixel 1.25 1.25",
    "clip 1 0 0 256 256 1",
    "ruler_x 1 yellow 18 128 0 1 18 120 128 60 0|238 128 275.0+mm 1",
    "ruler_x 2 yellow 128 43 0 0 128 43 140 50 0|128 213 212.5+mm 0",
    "angle_x 3 green 128 176 0 1 128 176 128 225 0|90 200 170 200 115+deg",
    "angle_x 4 green 80 118 0 1 80 118 60 150 0|80 80 110 130 112+deg ex",
    "cobangle_x 5 cyan 40 60 0 1 40 60 20 90 0|40 120 100 70 100 105 24+deg",
    "cobangle_x 6 cyan 160 60 0 0 160 60 240 90 0|160 110 220 50 220 125 24+deg 0 0 0 ex",
    "oval_x 7 red 136 120 0 1 136 120 136 165 0|-24 32 20.6+cm2 1",
    "skewoval_x 8 red 136 120 0 1 136 120 200 200 0|32 16 heart 30 0",
    "houns_x 9 blue 80 118 0 1 80 118 40 30 0|15 20 -800.0+HU -800 0 1",
    "skewhouns_x 10 blue 100 100 0 1 100 100 100 230 0|20 10 mean+12 12.5 3.25 90 1",
    "free_x 11 magenta 60 60 0 1 60 60 200 20 0|5 60 60 90 50 120 62 115 95 70 100 outline",
    "freepointer_x 12 white 176 100 0 1 176 100 0 0 0|206 140",
    "text_x 13 white 10 10 0 0 10 10 0 0 0|0 Torso+phantom",
    "spinelabel_x 14 white 128 176 0 1 0 0 0 0 0|0 0 128 190 T8 0",
    "spinelabel_x 15 white 136 120 0 1 0 0 0 0 0|0 0 30 20 heart 0",
}};

const std::vector<Figure> kSeveralImages = {
    {
        torso(1),
        "light 1500 -600 0 1",
        "sized 256 256 1 0",
        "pixel 1.25 1.25",
        "ruler_x 1 yellow 60 118 0 1 60 118 80 90 0|100 118 50.0+mm 1",
        torso(2),
        "light 350 40 1 1",
        "sized 256 256 3 0",
        "pixel 1.25 1.25",
        "text_x 1 white 20 20 0 0 20 20 0 0 0|0 slice+2",
        spine(),
        "light 700 350 0 1",
        "sized 128 192 1 0",
        "pixel 1.5 1",
        "spinelabel_x 1 white 60 24 0 1 0 0 0 0 0|0 0 20 24 L1 0",
        "spinelabel_x 2 white 57 52 0 1 0 0 0 0 0|0 0 37 52 L2 0", // 20 pixels away: no guide line
        "spinelabel_x 3 white 55 80 0 1 0 0 0 0 0|0 0 34 80 L3 0", // 21: a guide line
        "spinelabel_x 4 white 55 108 0 0 0 0 0 0 0|0 0 15 108 L4 0",
    },
    {
        torso(4),
        "light 400 40 0 1",
        "sized 256 256 1 0",
        "pixel 1.25 1.25",
        "freepointer_x 1 white 128 176 0 1 128 176 0 0 0|128 216",
    },
};

const std::vector<Figure> kEncodedLabels = {{
    torso(3),
    "sized 256 256 1 0",
    "pixel 1.25 1.25",
    "text_x 1 white 10 10 0 0 0 0 0 0 0|0 90%B0+left",
    "text_x 2 white 10 40 0 0 0 0 0 0 0|0 one%0Atwo%20three",
    "text_x 3 white 10 90 0 0 0 0 0 0 0|0 a%0a%0abcd",
    "text_x 4 white 10 160 0 0 0 0 0 0 0|0 2%2B2%3D4%25",
    "text_x 5 white 10 190 0 0 0 0 0 0 0|0 pipe%7C+slash/+under_score",
    "text_x 6 white 120 40 0 0 0 0 0 0 0|0 keep%zz",
    "text_x 7 white 120 70 0 0 0 0 0 0 0|0 cut%4",
    "text_x 8 white 120 100 0 0 0 0 0 0 0|0 a|b",
    "text_x 9 white 120 130 0 0 0 0 0 0 0|0 C%3A%5Cdir",
    "text_x 10 white 120 160 0 0 0 0 0 0 0|0 %2541",
    "text_x 11 white 150 220 0 0 0 0 0 0 0|0 end%00hidden",
    "ruler_x 12 yellow 100 128 0 1 100 128 128 128 0|156 128 tail%0A 1",
}};

const std::vector<Figure> kUnknownKinds = {{
    torso(2),
    "sized 256 256 1 0",
    "pixel 1.25 1.25",
    "volume_x 1 red 10 10 0 1 10 10 10 10 0|20 20 12+ml",
    "",
    "RULER_X 2 red 10 10 0 1 10 10 10 10 0|20 20 capitals 1",
    "ruler_x 3 yellow 40 40 0 1 40 40 60 30 0|80 70 62.5+mm 1",
}};

const std::vector<Figure> kImageElsewhere6 = {{
    idLine(kImageElsewhere.name()),
    "sized 256 256 1 0",
    "pixel 1.25 1.25",
    "text_x 1 white 30 30 0 1 30 30 0 0 0|0 elsewhere",
}};

const std::vector<Figure> kImageNowhere = {
    {
        torso(99),
        "sized 512 512 1 0",
        "pixel 0.5 0.5",
        "ruler_x 1 yellow 10 10 0 1 10 10 30 10 0|50 10 lost 1",
    },
    {
        torso(5),
        "sized 256 256 1 0",
        "pixel 1.25 1.25",
        "text_x 1 white 30 30 0 1 30 30 0 0 0|0 second+figure",
    },
};

const std::vector<Figure> kOneRuler = {{
    torso(3),
    "light 400 40 0 1",
    "sized 256 256 1 0",
    "pixel 1.25 1.25",
    "ruler_x 7 yellow 52 118 0 1 52 118 80 100 0|108 118 70.0+mm 0",
}};

const std::vector<Figure> kRotated = {{
    torso(3), "sized 256 256 1 1", "pixel 1.25 1.25", "text_x 1 white 8 8 0 1 8 8 0 0 0|0 code+1",
    torso(3), "sized 256 256 1 2", "pixel 1.25 1.25", "text_x 1 white 8 8 0 1 8 8 0 0 0|0 code+2",
    torso(3), "sized 256 256 1 3", "pixel 1.25 1.25", "text_x 1 white 8 8 0 1 8 8 0 0 0|0 code+3",
    torso(3), "sized 256 256 1 4", "pixel 1.25 1.25", "text_x 1 white 8 8 0 1 8 8 0 0 0|0 code+4",
    torso(3), "sized 256 256 1 5", "pixel 1.25 1.25", "text_x 1 white 8 8 0 1 8 8 0 0 0|0 code+5",
    torso(3), "sized 256 256 1 6", "pixel 1.25 1.25", "text_x 1 white 8 8 0 1 8 8 0 0 0|0 code+6",
    torso(3), "sized 256 256 1 7", "pixel 1.25 1.25", "text_x 1 white 8 8 0 1 8 8 0 0 0|0 code+7",
}};

const std::vector<Figure> kMagnified = {{
    torso(1),
    "sized 256 256 0 0",
    "pixel 1.25 1.25",
    "clip 2.5 40 50 100 80 3",
    "ruler_x 1 yellow 50 60 0 1 50 60 90 80 0|130 60 100.0+mm 1",
    torso(2),
    "sized 200 180 2 0",
    "pixel 1.25 1.25",
    "clip 0.75 10 10 200 200",
    "ruler_x 2 yellow 50 60 0 0 50 60 90 80 0|130 60 100.0+mm 1",
}};

const std::vector<Figure> kViewOnly = {{
    torso(5),
    "light 1500 -600 1 1",
    "sized 256 256 1 0",
    "pixel 0.48828125 0.5",
}};

const std::vector<Figure> kOddCoordinates = {{
    torso(4),
    "sized 256 256 1 0",
    "pixel 1.25 1.25",
    "ruler_x 1 yellow -2147483648 2147483647 0 1 0 0 -40 -50 0|-1 300 off 1",
    "cobangle_x 2 cyan 0 0 0 0 0 0 0 0 0|10 -7 -3 -3 -5 -8 odd",
    "skewoval_x -1 red 120 90 0 0 0 0 0 0 0|40 -24 none -45 2",
    "free_x 4 magenta 0 0 0 0 0 0 0 0 0|1 -12 34 dot",
    "freepointer_x 5 white 100 100 0 1 0 0 0 0 0|100 100",
    "freepointer_x 6 white 0 0 0 1 0 0 0 0 0|30 40",
    "text_x 7 white 15 25 0 0 0 0 0|0 nine",
}};

} // namespace

const std::vector<SampleState>& sampleStates()
{
  constexpr auto kImplicit = EXS_LittleEndianImplicit;
  constexpr auto kExplicit = EXS_LittleEndianExplicit;
  static const std::vector<SampleState> states = {
      {"annotations-all-kinds", 1, "Every kind of annotation", Layout::canonic, EVR_OB, kExplicit, kAllKinds},
      {"several-images", 2, "Four images in two figures", Layout::canonic, EVR_LT, kExplicit, kSeveralImages},
      {"labels-encoded", 3, "Labels with escapes", Layout::canonic, EVR_UT, kExplicit, kEncodedLabels},
      {"unknown-kinds", 4, "Lines of no known kind", Layout::canonic, EVR_ST, kExplicit, kUnknownKinds},
      {"image-elsewhere", 5, "An image of another archive", Layout::canonic, EVR_UN, kExplicit, kImageElsewhere6},
      {"image-nowhere", 6, "An image that nothing knows", Layout::canonic, EVR_OB, kExplicit, kImageNowhere},
      {"legacy-layout", 7, "Legacy block with creator", Layout::legacy, EVR_UN, kExplicit, kOneRuler},
      {"legacy-no-creator", 8, "Legacy block alone", Layout::legacyWithoutCreator, EVR_OB, kImplicit, kOneRuler},
      {"block-in-slot-11", 9, "Slot 10 is taken", Layout::canonicInSlot11, EVR_LT, EXS_BigEndianExplicit, kOneRuler},
      {"implicit-syntax", 10, "Implicit VR", Layout::canonic, EVR_OB, kImplicit, kOneRuler},
      {"deflated-syntax", 11, "Deflated", Layout::canonic, EVR_UT, EXS_DeflatedLittleEndianExplicit, kOneRuler},
      {"rotated-and-flipped", 12, "Orientations 1 to 7", Layout::canonic, EVR_LT, kExplicit, kRotated},
      {"magnified-and-clipped", 13, "Zoom and clip", Layout::canonic, EVR_OB, kExplicit, kMagnified},
      {"view-only", 14, "View settings without annotations", Layout::canonic, EVR_OB, kExplicit, kViewOnly},
      {"odd-coordinates", 15, "Points off the image", Layout::canonic, EVR_OB, kExplicit, kOddCoordinates},
  };
  return states;
}

} // namespace samples
