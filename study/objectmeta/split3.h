#pragma once

#include <algorithm>
#include <string>

namespace tarn::db
{

/// Cuts `text` at each `separator` and appends the pieces to `fields`: two separators in a row give an empty field, one
/// at the end gives none, and an empty text gives no field at all.
template <class Vector, char separator>
void split3(const std::string& text, Vector& fields)
{
  for (std::string::size_type start = 0; start < text.size();)
  {
    const auto end = std::min(text.find(separator, start), text.size());
    fields.push_back(text.substr(start, end - start));
    start = end + 1;
  }
}

} // namespace tarn::db
