// Compound graphics, the simple ones that stand for them, and groups.
#include "conformance/compoundRules.h"

#include "conformance/annotations.h"
#include "conformance/attributes.h"

#include <array>
#include <cmath>
#include <set>

namespace tarn::conformance
{
namespace
{

struct CompoundType
{
  const char* name;
  std::size_t points; ///< PS3.3 C.10.5.1.3.3 and after; 0: an even number
};

constexpr std::array<CompoundType, 10> kTypes{{{"MULTILINE", 0},
                                               {"INFINITELINE", 2},
                                               {"CUTLINE", 2},
                                               {"RANGELINE", 2},
                                               {"RULER", 2},
                                               {"AXIS", 2},
                                               {"CROSSHAIR", 1},
                                               {"ARROW", 2},
                                               {"RECTANGLE", 2},
                                               {"ELLIPSE", 2}}};

template <class... Types>
bool isAnyOf(const Placed& compound, const Types*... types)
{
  const std::string& type = textOf(compound, DCM_CompoundGraphicType);
  return ((type == types) || ...);
}

bool isTurned(const Placed& compound)
{
  return has(compound, DCM_RotationAngle) || isAnyOf(compound, "CUTLINE", "INFINITELINE");
}

bool hasGap(const Placed& compound)
{
  return isAnyOf(compound, "CUTLINE", "INFINITELINE", "CROSSHAIR");
}

bool isCrosshair(const Placed& compound)
{
  return isAnyOf(compound, "CROSSHAIR");
}

bool hasTicks(const Placed& compound)
{
  return isAnyOf(compound, "RULER", "AXIS", "CROSSHAIR");
}

bool isArea(const Placed& compound)
{
  return isAnyOf(compound, "RECTANGLE", "ELLIPSE");
}

bool isAxis(const Placed& compound)
{
  return isAnyOf(compound, "AXIS");
}

const std::vector<Attribute>& compoundAttributes()
{
  static const std::vector<Attribute> kAttributes{
      {DCM_CompoundGraphicUnits, Form::term, always, {"PIXEL", "DISPLAY", "MATRIX"}},
      {DCM_CompoundGraphicType, Form::any, always},
      {DCM_RotationAngle, Form::number, nullptr},
      {DCM_RotationPoint, Form::point, isTurned},
      {DCM_GapLength, Form::number, hasGap},
      {DCM_DiameterOfVisibility, Form::number, isCrosshair},
      {DCM_MajorTicksSequence, Form::any, isAxis},
      {DCM_TickAlignment, Form::term, hasTicks, {"BOTTOM", "CENTER", "TOP"}},
      {DCM_TickLabelAlignment, Form::term, hasTicks, {"BOTTOM", "TOP"}},
      {DCM_ShowTickLabel, Form::term, hasTicks, {"Y", "N"}},
      {DCM_GraphicFilled, Form::term, isArea, {"Y", "N"}},
      {DCM_GraphicGroupID, Form::whole, nullptr}};
  return kAttributes;
}

const std::vector<Attribute>& tickAttributes()
{
  static const std::vector<Attribute> kAttributes{{DCM_TickPosition, Form::number, always},
                                                  {DCM_TickLabel, Form::any, always}};
  return kAttributes;
}

const std::vector<Placed>& compoundsOf(Examination& state)
{
  return state.objects(DCM_CompoundGraphicSequence);
}

/// The numbers that the items of some sequences have in one attribute.
std::set<double> numbersIn(const Placed& holder, std::initializer_list<DcmTagKey> sequences, const DcmTagKey& tag)
{
  std::set<double> numbers;
  for (const DcmTagKey& sequence : sequences)
    for (const Placed& item : itemsOf(holder, sequence))
      if (const auto number = numberOf(item, tag); number && !std::isnan(*number))
        numbers.insert(*number);
  return numbers;
}

} // namespace

void examineCompoundAttributes(Examination& state)
{
  for (const Placed& compound : compoundsOf(state))
  {
    examineAttributes(state, compound, compoundAttributes());
    for (const Placed& tick : itemsOf(compound, DCM_MajorTicksSequence))
      examineAttributes(state, tick, tickAttributes());
  }
}

void examineCompoundData(Examination& state)
{
  for (const Placed& compound : compoundsOf(state))
  {
    const std::size_t values = coordinatesOf(compound, DCM_GraphicData).size();
    if (values == 0 || values % 2 != 0)
      state.find(compound, DCM_GraphicData, values == 0 ? "there are no coordinates" : "a point has one coordinate");
    else
      for (const CompoundType& type : kTypes)
        if (isAnyOf(compound, type.name) && (type.points > 0 ? values != 2 * type.points : values % 4 != 0))
          state.find(compound, DCM_GraphicData,
                     std::string(type.name) + " has " + std::to_string(values / 2) + " points");
  }
}

void examineCompoundTypes(Examination& state)
{
  for (const Placed& compound : compoundsOf(state))
  {
    bool isKnown = !hasValue(compound, DCM_CompoundGraphicType);
    for (const CompoundType& type : kTypes)
      isKnown = isKnown || isAnyOf(compound, type.name);
    if (!isKnown)
      state.find(compound, DCM_CompoundGraphicType,
                 "'" + textOf(compound, DCM_CompoundGraphicType) + "' is a private one");
  }
}

void examineCompoundIds(Examination& state)
{
  for (const Placed& annotation : annotationsOf(state))
  {
    std::set<double> seen;
    for (const Placed& compound : itemsOf(annotation, DCM_CompoundGraphicSequence))
      if (const auto id = numberOf(compound, DCM_CompoundGraphicInstanceID); !id || std::isnan(*id))
        state.find(compound, DCM_CompoundGraphicInstanceID, "it is missing");
      else if (!seen.insert(*id).second)
        state.find(compound, DCM_CompoundGraphicInstanceID, "another one has it too");
  }
}

void examineCompoundRenderings(Examination& state)
{
  for (const Placed& annotation : annotationsOf(state))
  {
    const std::vector<Placed>& compounds = itemsOf(annotation, DCM_CompoundGraphicSequence);
    if (compounds.empty())
      continue;
    const std::set<double> rendered =
        numbersIn(annotation, {DCM_GraphicObjectSequence, DCM_TextObjectSequence}, DCM_CompoundGraphicInstanceID);
    for (const Placed& compound : compounds)
      if (const auto id = numberOf(compound, DCM_CompoundGraphicInstanceID);
          id && !std::isnan(*id) && rendered.count(*id) == 0)
        state.find(compound, DCM_CompoundGraphicInstanceID, "no graphic and no text stands for it");
  }
}

void examineGraphicGroups(Examination& state)
{
  std::set<double> seen;
  for (const Placed& group : itemsOf(state.root(), DCM_GraphicGroupSequence))
  {
    const auto id = numberOf(group, DCM_GraphicGroupID);
    if (!id || std::isnan(*id))
      state.find(group, DCM_GraphicGroupID, "it is missing");
    else if (!seen.insert(*id).second)
      state.find(group, DCM_GraphicGroupID, "another group has it too");
    if (!hasValue(group, DCM_GraphicGroupLabel))
      state.find(group, DCM_GraphicGroupLabel, "it is missing");
  }
}

void examineGraphicGroupIds(Examination& state)
{
  const std::set<double> groups = numbersIn(state.root(), {DCM_GraphicGroupSequence}, DCM_GraphicGroupID);
  for (const DcmTagKey& sequence : {DCM_GraphicObjectSequence, DCM_TextObjectSequence, DCM_CompoundGraphicSequence})
    for (const Placed& object : state.objects(sequence))
      if (const auto id = numberOf(object, DCM_GraphicGroupID); id && !std::isnan(*id) && groups.count(*id) == 0)
        state.find(object, DCM_GraphicGroupID, "there is no such group");
}

} // namespace tarn::conformance
