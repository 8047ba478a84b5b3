// Styles of graphics and texts.
#include "conformance/styleRules.h"

#include "conformance/annotations.h"
#include "conformance/attributes.h"

#include <array>

namespace tarn::conformance
{
namespace
{

bool isDashed(const Placed& style)
{
  return textOf(style, DCM_LineDashingStyle) == "DASHED";
}

bool isStippled(const Placed& style)
{
  return textOf(style, DCM_FillMode) == "STIPPELED"; // sic
}

bool hasShadow(const Placed& style)
{
  return hasValue(style, DCM_ShadowStyle) && textOf(style, DCM_ShadowStyle) != "OFF";
}

bool hasFontName(const Placed& style)
{
  return hasValue(style, DCM_FontName);
}

struct Style
{
  DcmTagKey sequence;
  std::vector<Attribute> attributes;
};

const std::array<Style, 3>& styles()
{
  const auto shadow = [](bool (*isRequired)(const Placed&))
  {
    return std::vector<Attribute>{{DCM_ShadowStyle, Form::term, always, {"NORMAL", "OUTLINED", "OFF"}},
                                  {DCM_ShadowOffsetX, Form::number, isRequired},
                                  {DCM_ShadowOffsetY, Form::number, isRequired},
                                  {DCM_ShadowColorCIELabValue, Form::color, isRequired},
                                  {DCM_ShadowOpacity, Form::fraction, isRequired}};
  };
  const auto joined = [](std::vector<Attribute> all, const std::vector<Attribute>& more)
  {
    all.insert(all.end(), more.begin(), more.end());
    return all;
  };
  static const std::array<Style, 3> kStyles{
      {{DCM_LineStyleSequence, joined({{DCM_PatternOnColorCIELabValue, Form::color, always},
                                       {DCM_PatternOffColorCIELabValue, Form::color, nullptr},
                                       {DCM_PatternOnOpacity, Form::fraction, always},
                                       {DCM_PatternOffOpacity, Form::fraction, nullptr},
                                       {DCM_LineThickness, Form::positive, always},
                                       {DCM_LineDashingStyle, Form::term, always, {"SOLID", "DASHED"}},
                                       {DCM_LinePattern, Form::whole, isDashed}},
                                      shadow(always))},
       {DCM_FillStyleSequence,
        {{DCM_PatternOnColorCIELabValue, Form::color, always},
         {DCM_PatternOffColorCIELabValue, Form::color, nullptr},
         {DCM_PatternOnOpacity, Form::fraction, always},
         {DCM_PatternOffOpacity, Form::fraction, always},
         {DCM_FillMode, Form::term, always, {"SOLID", "STIPPELED"}},
         {DCM_FillPattern, Form::any, isStippled}}},
       {DCM_TextStyleSequence, joined({{DCM_FontName, Form::any, nullptr},
                                       {DCM_FontNameType, Form::any, hasFontName},
                                       {DCM_CSSFontName, Form::any, always},
                                       {DCM_TextColorCIELabValue, Form::color, always},
                                       {DCM_HorizontalAlignment, Form::term, nullptr, {"LEFT", "CENTER", "RIGHT"}},
                                       {DCM_VerticalAlignment, Form::term, nullptr, {"TOP", "CENTER", "BOTTOM"}},
                                       {DCM_Underlined, Form::term, always, {"Y", "N"}},
                                       {DCM_Bold, Form::term, always, {"Y", "N"}},
                                       {DCM_Italic, Form::term, always, {"Y", "N"}}},
                                      shadow(hasShadow))}}};
  return kStyles;
}

const std::array<DcmTagKey, 3> kStyled{DCM_GraphicObjectSequence, DCM_TextObjectSequence, DCM_CompoundGraphicSequence};

/// Completes a line style as viewers draw it that know nothing of the attributes: one pixel, no shadow.
void complete(const Placed& style)
{
  const auto putDefault = [&style](const DcmTagKey& tag, Float32 value)
  {
    if (!hasValue(style, tag))
      putCoordinates(style, tag, {value});
  };
  putDefault(DCM_LineThickness, 1);
  if (!hasValue(style, DCM_ShadowStyle))
    putText(style, DCM_ShadowStyle, EVR_CS, "OFF");
  putDefault(DCM_ShadowOffsetX, 0);
  putDefault(DCM_ShadowOffsetY, 0);
  putDefault(DCM_ShadowOpacity, 0);
  if (!hasValue(style, DCM_ShadowColorCIELabValue))
    putNumbers(style, DCM_ShadowColorCIELabValue, {0, 32896, 32896}); // black in CIELab (PS3.3 C.10.7.1.1)
}

/// A shadow that is shown has to say itself what it is like.
bool canComplete(const Placed& style)
{
  const bool lacks = !(hasValue(style, DCM_ShadowOffsetX) && hasValue(style, DCM_ShadowOffsetY) &&
                       hasValue(style, DCM_ShadowOpacity) && hasValue(style, DCM_ShadowColorCIELabValue));
  return !hasShadow(style) && (lacks || !hasValue(style, DCM_ShadowStyle) || !hasValue(style, DCM_LineThickness));
}

} // namespace

void examineIncompleteLineStyles(Examination& state)
{
  for (const DcmTagKey& sequence : kStyled)
    for (const Placed& object : state.objects(sequence))
      for (const Placed& style : itemsOf(object, DCM_LineStyleSequence))
        if (canComplete(style))
          state.find(style, "its thickness or its shadow is missing", [style] { complete(style); });
}

void examineStyles(Examination& state)
{
  for (const DcmTagKey& sequence : kStyled)
    for (const Placed& object : state.objects(sequence))
      for (const Style& style : styles())
      {
        const std::vector<Placed>& items = itemsOf(object, style.sequence);
        if (items.size() > 1)
          state.find(object, style.sequence, "it has more than one item");
        for (const Placed& item : items)
          if (style.sequence != DCM_LineStyleSequence || !canComplete(item))
            examineAttributes(state, item, style.attributes);
      }
}

} // namespace tarn::conformance
