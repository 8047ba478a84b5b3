// Tables of attributes, held against items.
#include "conformance/attributes.h"

#include <algorithm>
#include <cmath>

namespace tarn::conformance
{
namespace
{

constexpr double kMostOfColor = 65535;

bool isNumber(std::optional<double> number, double least, double most)
{
  return number && std::isfinite(*number) && *number >= least && *number <= most;
}

bool isColor(const Placed& item, const DcmTagKey& tag)
{
  const auto& numbers = numbersOf(item, tag);
  return numbers && numbers->size() == 3 &&
         std::all_of(numbers->begin(), numbers->end(), [](double number) { return isNumber(number, 0, kMostOfColor); });
}

bool isPoint(const Placed& item, const DcmTagKey& tag)
{
  const auto& numbers = numbersOf(item, tag);
  return numbers && numbers->size() == 2;
}

bool isOneOf(const std::string& text, const std::vector<const char*>& terms)
{
  return std::find(terms.begin(), terms.end(), text) != terms.end();
}

bool fits(const Placed& item, const Attribute& attribute)
{
  const DcmTagKey& tag = attribute.tag;
  const auto number = [&] { return numberOf(item, tag); };
  switch (attribute.form)
  {
  case Form::term:
    return isOneOf(textOf(item, tag), attribute.terms);
  case Form::any:
    return true;
  case Form::number:
    return isNumber(number(), -HUGE_VAL, HUGE_VAL);
  case Form::positive:
    return isNumber(number(), 0, HUGE_VAL) && *number() > 0;
  case Form::fraction:
    return isNumber(number(), 0, 1);
  case Form::whole:
    return isNumber(number(), -HUGE_VAL, HUGE_VAL) && *number() == std::floor(*number());
  case Form::point:
    return isPoint(item, tag);
  case Form::color:
    return isColor(item, tag);
  }
  return true;
}

} // namespace

bool always(const Placed&)
{
  return true;
}

void examineAttributes(Examination& state, const Placed& item, const std::vector<Attribute>& attributes)
{
  for (const Attribute& attribute : attributes)
    if (!hasValue(item, attribute.tag))
    {
      if (attribute.isRequired && attribute.isRequired(item))
        state.find(item, attribute.tag, "it is required, and missing");
    }
    else if (!fits(item, attribute))
      state.find(item, attribute.tag,
                 attribute.form == Form::term ? "'" + textOf(item, attribute.tag) + "' is none of its terms"
                                              : "its value is not valid");
}

} // namespace tarn::conformance
