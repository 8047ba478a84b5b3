// A vertebra: a small square, and its name beside it.
#include "annotations/spinelabel.h"

#include "base/wrapping.h"

namespace impsconverter
{
namespace
{

/// Image pixels.
constexpr int kSquareSide = 5;
constexpr float kSquareMiddle = 3.0F;
constexpr float kLongestUntied = 20.0F;

} // namespace

bool SpineLabel::parseSpecific(const std::string& type, const std::string& params)
{
  return specific(type, params)
      .skipNumbers(2)
      .number(textX)
      .number(textY)
      .label(label, " Label")
      .skipNumbers(1)
      .atLeast(6, "SpineLabel");
}

bool SpineLabel::createSimple()
{
  const int right = tarn::base::wrapAdd(baseX, kSquareSide);
  const int bottom = tarn::base::wrapAdd(baseY, kSquareSide);
  const bool added =
      addPolyline({base(), pointAt(right, baseY), pointAt(right, bottom), pointAt(baseX, bottom), base()});
  if (added && showValue && isLabelAway())
    addTie();
  return added;
}

bool SpineLabel::isLabelAway() const
{
  const double distance = vectorLength(tarn::base::wrapSub(textX, baseX), tarn::base::wrapSub(textY, baseY));
  return static_cast<float>(distance) > kLongestUntied;
}

void SpineLabel::addTie()
{
  float width = 0.0F;
  float height = 0.0F;
  calcTextBox(label, width, height);
  const Point text = pointAt(textX, textY);
  addHelperLine({text.column + width * 0.5F, text.row + height * 0.5F},
                {base().column + kSquareMiddle, base().row + kSquareMiddle});
}

bool SpineLabel::createText()
{
  const int x = textX == baseX ? tarn::base::wrapAdd(textX, kSquareSide) : textX;
  return !showValue || addText(x, textY, label, /*centered=*/false);
}

} // namespace impsconverter
