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

bool Oval::parseSpecific(const std::string& type, const std::string& params)
{
  Values v;
  return accept(type, specific(type, params).number(v.sizeX).number(v.sizeY).word(v.label).number(v.center), v);
}

bool SkewOval::parseSpecific(const std::string& type, const std::string& params)
{
  Values v;
  return accept(
      type, specific(type, params).number(v.sizeX).number(v.sizeY).word(v.label).real(v.rotation).number(v.center), v);
}

bool HounsField::parseSpecific(const std::string& type, const std::string& params)
{
  Values v;
  return accept(type,
                specific(type, params).number(v.sizeX).number(v.sizeY).word(v.label).skipReals(2).number(v.center), v);
}

bool SkewHounsField::parseSpecific(const std::string& type, const std::string& params)
{
  Values v;
  return accept(type,
                specific(type, params)
                    .number(v.sizeX)
                    .number(v.sizeY)
                    .word(v.label)
                    .skipReals(2)
                    .real(v.rotation)
                    .number(v.center),
                v);
}

bool Oval::accept(const std::string& type, const Parameters& scanned, const Values& values)
{
  if (!scanned.atLeast(kRequired, nullptr))
    return false;
  setValues(type, values.sizeX, values.sizeY, values.label, values.rotation, values.center == 1);
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

std::vector<Float32> Oval::axisEnds() const
{
  const Direction first = rotation == 0.0F ? Direction{1.0F, 0.0F} : direction(rotation);
  const Direction second = rotation == 0.0F ? Direction{0.0F, 1.0F} : direction(rotation + 90.0F);
  const auto x = static_cast<float>(baseX);
  const auto y = static_cast<float>(baseY);
  const auto a = static_cast<float>(sizeX);
  const auto b = static_cast<float>(sizeY);
  std::vector<Float32> ends{x + a * first.cosine,  y + a * first.sine,  x - a * first.cosine,  y - a * first.sine,
                            x + b * second.cosine, y + b * second.sine, x - b * second.cosine, y - b * second.sine};
  if (debug)
  {
    tarn::base::trace(" cos r: ", first.cosine, " sin r: ", first.sine, " cos(r+90): ", second.cosine,
                      " sin(r+90): ", second.sine);
    tarn::base::trace("{ (", ends[0], ",", ends[1], "),(", ends[2], ",", ends[3], "),(", ends[4], ",", ends[5], "),(",
                      ends[6], ",", ends[7], ")}\t\t");
  }
  return ends;
}

bool Oval::createSimple()
{
  return addGraphic(axisEnds(), "ELLIPSE", true);
}

bool Oval::createCompound()
{
  DcmItem* item = addCompound({static_cast<Float32>(tarn::base::wrapSub(baseX, sizeX)),
                               static_cast<Float32>(tarn::base::wrapSub(baseY, sizeY)),
                               static_cast<Float32>(tarn::base::wrapAdd(baseX, sizeX)),
                               static_cast<Float32>(tarn::base::wrapAdd(baseY, sizeY))},
                              "ELLIPSE");
  if (!item)
    return false;
  ElementWriter writer(*item);
  writer.text(DCM_GraphicFilled, EVR_CS, "N", "Graphic Filled could not be created: ");
  if (rotation != 0.0F)
    writer
        .floats(DCM_RotationPoint, {static_cast<Float32>(baseX), static_cast<Float32>(baseY)},
                "Rotation Point value could not be inserted: ", "Rotation Point could not be inserted: ")
        .real(DCM_RotationAngle, static_cast<Float64>(rotation), "Rotation Angle could not be created: ");
  return complete(writer, *item);
}

bool Oval::createText()
{
  return addValueLabel(label);
}

} // namespace impsconverter
