#pragma once

#include <string_view>

namespace tarn::dicom
{

/// Whether `text` can stand as a UID in a name: digits and points, a digit first, at most 64 characters (PS3.5 9.1).
/// Components are not checked, since archives hold UIDs with leading zeros.
constexpr bool isUid(std::string_view text)
{
  constexpr std::size_t kMaxLength = 64;
  return !text.empty() && text.front() != '.' && text.size() <= kMaxLength &&
         text.find_first_not_of("0123456789.") == std::string_view::npos;
}

} // namespace tarn::dicom
