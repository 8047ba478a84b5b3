#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace tarn::archive
{

enum class Quantity
{
  length, ///< mm
  area,   ///< mm2
  angle   ///< degrees
};

/// A number that a viewer wrote into a label.
struct LabelNumber
{
  Quantity quantity;
  double value; ///< in the unit of the quantity
  double step;  ///< one in its last digit, likewise
};

/// The first number of the label that has a unit of one of the quantities, in whatever language the rest is. The
/// decimal point may be a comma. The label is UTF-8 or has one byte a character.
std::optional<LabelNumber> numberIn(std::string_view label, const std::vector<Quantity>& quantities);

} // namespace tarn::archive
