#pragma once

#include <string>

namespace tarn::archive
{

/// A reason's code in words: what it means, and what is to be done about it, a sentence or two each.
struct ReasonText
{
  std::string meaning;
  std::string action;
};

/// Of a code that is not known, which a later version may have written, it says so.
ReasonText reasonText(const std::string& code);

} // namespace tarn::archive
