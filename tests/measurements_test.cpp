#include "tests/support/AnnotatedState.h"

#include "annotations/kinds.h"
#include "archive/measurements/MeasurementTable.h"
#include "archive/measurements/labelNumber.h"
#include "base/text.h"
#include "images/PixelSpacing.h"

#include <regex>

using namespace impsconverter;
using namespace tarn::archive;
using tarn::base::joined;

namespace
{

std::vector<std::string> partsOf(const std::string& text, char separator)
{
  std::vector<std::string> parts;
  std::istringstream all(text);
  for (std::string part; std::getline(all, part, separator);)
    parts.push_back(tarn::base::trimmed(part));
  return parts;
}

const std::map<std::string, Spacing> kSpacings = {{"none", {}},
                                                  {"half", {"patient", 0.5, 0.5, true}},
                                                  {"tall", {"detector", 2, 0.5, true}},
                                                  {"ratio", {"ratio", 2, 0.5, false}},
                                                  {"huge", {"state", 1, 1e300, true}}};

/// What the table has of an annotation from the length to the difference.
std::string measured(const std::string& line, const Spacing& spacing)
{
  Measurement row;
  const auto annotation = kindOf(line)->make(nullptr);
  EXPECT_TRUE(annotation->parse(line));
  row.shape = annotation->shape();
  row.spacing = spacing;
  const Capture said;
  MeasurementTable().write(row);
  return std::regex_replace(said.out.str(), std::regex("[^]*\\]\",([^,]*,){3}([^\"]*),\"[^]*"), "$2");
}

// Fact | kind and parameters, from column 10, row 20 | spacing | length, area, angle, axes, the first two in pixels,
// label
constexpr char kMeasured[] = R"(
nothing to compare | ruler 13 24 5+mm 1 | none | ,,,,,5,,5,mm,
a label of 0 | ruler 13 24 0+mm 1 | half | 2.5,,,,,5,,0,mm,inf
more than a double holds | ruler 2147483647 20 a 1 | huge | inf,,,,,2.14748364e+09,,,,
an angle | angle 20 20 20 30 44+deg | half | ,,45,,,,,44,deg,2.27272727
an angle needs the ratio alone | angle 20 20 20 30 a | ratio | ,,75.9637565,,,,,,,
an angle above a right one | angle 20 20 0 30 a | none | ,,135,,,,,,,
a ray of no length | angle 10 20 20 30 9+deg | half | ,,,,,,,9,deg,
lines have no direction | cobangle 0 0 20 20 -10 10 a | half | ,,45,,,,,,,
an oval | oval -20 10 6+cm2 | tall | ,628.318531,,40,20,,628.318531,600,mm2,4.71975512
what is drawn are no axes there | skewoval 20 10 a 45 | tall | ,628.31853,,63.9817217,12.503571,,628.31853,,,
a turn that is no number | skewoval 20 10 3+cm2 nan | half | ,,,,,,,300,mm2,
a size without absolute value | oval -2147483648 0 a | half | ,0,,2.14748365e+09,0,,0,,,
backwards, far away | free 3 8388608 8388608 8388608 8388612 8388611 8388612 6+mm2 | tall | 17.6394103,6,,,,12,6,6,mm2,0)";

TEST(Measurements, OfEachKind)
{
  for (const std::string& row : partsOf(kMeasured + 1, '\n'))
  {
    const std::vector<std::string> parts = partsOf(row, '|');
    std::string line = parts.at(1);
    line.replace(line.find(' '), 1, "_x 1 red 10 20 1 1 0 0 100 100 0|");
    EXPECT_EQ(parts.at(3), measured(line, kSpacings.at(parts.at(2)))) << row;
  }
}

TEST(Measurements, TextsAreNoFormulasAndCanBeTakenBack)
{
  for (const std::string label : {"=1+1", "-800.0 HU", "@a", "+a", "\ta", "'a", "a=1", ""})
  {
    const Capture said;
    MeasurementTable().write({"", "", "", "", label, label, {}, {}, "", "", false, ""});
    const std::string cell = "\"" + std::string(label == "a=1" || label.empty() ? "" : "'") + label + "\",";
    EXPECT_NE(said.out.str().find("\"\"," + cell + cell + ","), std::string::npos) << said.out.str();
  }
}

// Value, one in its last digit and unit, or nothing | labels, with bytes of Latin-1 or UTF-8 as # and two digits.
constexpr char kLabels[] = R"(
275 1 mm | 27,5 cm | L#C4nge: 27,5#C2#A0cm (rechts) | 275MM | #C3#98275. mm x 5 cm
5 1 mm | .5 cm | 3-5 mm | T8 5 mm | A 2 mm2, r=5 mm
-3 1 mm | -3 mm | r=-3 mm
1234.5 0.1 mm | 1,234.5 mm | 1.234,5mm
2060 10 mm2 | 20.6 cm2 | 20.6 cm#B2 | 20,6#A0cm#C2#B2 | -800 HU, 20.6 cm^2) | 20,6 qcm
90 1 deg | 90#B0 left | 90#C2#B0 | 90 degr#E9s | 90 Grad | 90 grados | 90DEG
| mean 12 | T8 mm | 12 mm3 | 12 mm#C2#B3 | 3 cm/s | 37 #C2#B0C | 9e9 mm | ...mm | 1'234 mm | 1.234.567 mm | 1.2,3,4 mm
| 1 234,5 mm | 1#E2#80#AF234 mm2 | 12 | mm)";

TEST(LabelNumber, InWhateverWordsTheViewerWrote)
{
  const auto shown = [](std::string label, Quantity wanted)
  {
    for (std::size_t at = label.find('#'); at != std::string::npos; at = label.find('#'))
      label.replace(at, 3, 1, static_cast<char>(std::stoi(label.substr(at + 1, 2), nullptr, 16)));
    const auto found = numberIn(label, {wanted, Quantity::angle});
    const char* const units[] = {" mm", " mm2", " deg"};
    return found ? joined(found->value, ' ', found->step, units[static_cast<int>(found->quantity)]) : "";
  };
  for (const std::string& row : partsOf(kLabels + 1, '\n'))
  {
    const std::vector<std::string> parts = partsOf(row, '|');
    const Quantity wanted = parts[0].find("mm2") != std::string::npos ? Quantity::area : Quantity::length;
    for (auto label = parts.begin() + 1; label != parts.end(); ++label)
      EXPECT_EQ(parts[0], shown(*label, wanted)) << *label;
  }
  EXPECT_EQ("", shown(std::string(400, '9') + " mm", Quantity::length));
}

// Fact | row, column and origin of the second frame | elements
constexpr char kSpaced[] = R"(
in the patient | 0.5 0.25 3 | PixelSpacing=0.5\0.25
at the detector | 0.2 0.1 2 | ImagerPixelSpacing= +2e-1 \0.1
on a film | 0.2 0.1 2 | NominalScannedPixelSpacing=0.2\0.1
repeats the detector's | 0.5 0.25 2 | PixelSpacing=0.5\0.25 | ImagerPixelSpacing=0.50\0.25
corrected | 0.4 0.2 3 | PixelSpacing=0.4\0.2 | ImagerPixelSpacing=0.5\0.25
calibrated | 0.5 0.2 3 | PixelSpacing=0.5\0.2 | ImagerPixelSpacing=0.5\0.2 | PixelSpacingCalibrationType=FIDUCIAL
the ratio alone | 4 3 1 | PixelAspectRatio=4\3
no numbers | 1 1 0 | PixelSpacing=nan\inf | ImagerPixelSpacing=0\1
commas | 1 1 0 | PixelSpacing=0,5\0,5
of the frame | 3 4 3 | PerFrameFunctionalGroupsSequence[0].M=1\2 | PerFrameFunctionalGroupsSequence[1].M=3\4
the frame says none | 5 6 3 | SharedFunctionalGroupsSequence[0].M=5\6 | PerFrameFunctionalGroupsSequence[0].M=1\2)";

TEST(PixelSpacing, IsReadFromWhereverItStands)
{
  for (const std::string& row : partsOf(kSpaced + 1, '\n'))
  {
    const std::vector<std::string> parts = partsOf(row, '|');
    DcmDataset dataset;
    for (auto part = parts.begin() + 2; part != parts.end(); ++part)
      set({std::regex_replace(*part, std::regex("[.]M="), ".PixelMeasuresSequence[0].PixelSpacing=")})(dataset);
    const tarn::images::PixelSpacing found = tarn::images::readPixelSpacings(dataset).of(2);
    EXPECT_EQ(parts.at(1), joined(found.row, ' ', found.column, ' ', static_cast<int>(found.origin))) << row;
  }
}

} // namespace
