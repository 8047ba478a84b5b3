// Ovals and Hounsfield regions: an ellipse, which the parameters of each class describe in an order of their own.
#include "annotations/oval.h"

#include "base/report.h"
#include "pstate/ElementWriter.h"
#include "base/urlDecode.h"
#include "base/wrapping.h"

#include <cmath>

namespace impsconverter
{
namespace
{

constexpr int kRequired = 3;

struct Direction
{
  float cosine;
  float sine;
};

Direction direction(float degrees)
{
  const double radians = degrees * 3.141592653589793 / 180;
  return {static_cast<float>(std::cos(radians)), static_cast<float>(std::sin(radians))};
}

} // namespace

bool Oval::scan(const std::string& type, const std::string& params, int measuredValues, bool isRotated)
{
  int x = 0;
  int y = 0;
  int center = 0;
  float degrees = 0.0F;
  std::string encodedLabel;
  Parameters scanned = specific(type, params);
  scanned.number(x).number(y).word(encodedLabel).skipReals(measuredValues);
  if (isRotated)
    scanned.real(degrees);
  if (!scanned.number(center).atLeast(kRequired, nullptr))
    return false;
  setValues(type, x, y, encodedLabel, degrees, center == 1);
  return true;
}

void Oval::setValues(const std::string& type, int x, int y, const std::string& encodedLabel, float degrees, bool center)
{
  sizeX = tarn::base::wrapAbs(x);
  sizeY = tarn::base::wrapAbs(y);
  label = encodedLabel;
  im::URLDecode(label);
  rotation = degrees;
  showCenter = center;
  if (!debug)
    return;
  tarn::base::trace("Oval(", type, ")");
  tarn::base::trace(" Size X: ", sizeX);
  tarn::base::trace(" Size Y: ", sizeY);
  tarn::base::trace(" Rotation: ", rotation);
  tarn::base::trace(" Label: \"", label, "\"");
  tarn::base::trace(" Show Center: ", showCenter);
}

std::vector<Point> Oval::axisEnds() const
{
  const Direction first = rotation == 0.0F ? Direction{1.0F, 0.0F} : direction(rotation);
  const Direction second = rotation == 0.0F ? Direction{0.0F, 1.0F} : direction(rotation + 90.0F);
  const auto x = static_cast<float>(baseX);
  const auto y = static_cast<float>(baseY);
  const auto a = static_cast<float>(sizeX);
  const auto b = static_cast<float>(sizeY);
  std::vector<Point> ends{{x + a * first.cosine, y + a * first.sine},
                          {x - a * first.cosine, y - a * first.sine},
                          {x + b * second.cosine, y + b * second.sine},
                          {x - b * second.cosine, y - b * second.sine}};
  if (debug)
  {
    tarn::base::trace(" cos r: ", first.cosine, " sin r: ", first.sine, " cos(r+90): ", second.cosine,
                      " sin(r+90): ", second.sine);
    tarn::base::trace("{ (", ends[0].column, ",", ends[0].row, "),(", ends[1].column, ",", ends[1].row, "),(",
                      ends[2].column, ",", ends[2].row, "),(", ends[3].column, ",", ends[3].row, ")}\t\t");
  }
  return ends;
}

bool Oval::createSimple()
{
  // PS3.3 C.10.5.1.2: the ends of one axis, then of the other; that of size X comes first, also where it is the
  // shorter.
  return addGraphic(GraphicType::ellipse, axisEnds(), /*isIdentified=*/true);
}

bool Oval::createCompound()
{
  // PS3.3 C.10.5.1.3.3: two corners of the box before the rotation, which is about the centre.
  const std::vector<Point> box{pointAt(tarn::base::wrapSub(baseX, sizeX), tarn::base::wrapSub(baseY, sizeY)),
                               pointAt(tarn::base::wrapAdd(baseX, sizeX), tarn::base::wrapAdd(baseY, sizeY))};
  return addCompound(
      GraphicType::ellipse, box,
      [&](ElementWriter& writer)
      {
        writer.text(DCM_GraphicFilled, EVR_CS, "N", "Graphic Filled could not be created: ");
        if (rotation == 0.0F)
          return;
        writer
            .floats(DCM_RotationPoint, {base().column, base().row},
                    "Rotation Point value could not be inserted: ", "Rotation Point could not be inserted: ")
            .real(DCM_RotationAngle, static_cast<Float64>(rotation), "Rotation Angle could not be created: ");
      });
}

} // namespace impsconverter
