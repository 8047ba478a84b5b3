#pragma once

#include <algorithm>
#include <string_view>

namespace tarn::study
{

/// Cuts `text` at each `separator` and appends the pieces to `fields`: two separators in a row give an empty field, one
/// at the end gives none, and an empty text gives no field at all.
template <class Vector, char separator>
void split3(std::string_view text, Vector& fields)
{
  while (!text.empty())
  {
    const std::string_view field = text.substr(0, text.find(separator));
    fields.emplace_back(field);
    text.remove_prefix(std::min(field.size() + 1, text.size()));
  }
}

} // namespace tarn::study
