#pragma once

#include "annotations/Annotation.h"

#include <memory>
#include <string>

namespace impsconverter
{

/// A kind of annotation.
struct Kind
{
  const char* prefix; ///< its lines begin so, with the blank
  std::unique_ptr<Annotation> (*make)(ValidPresentationState* ps);
};

/// The kind of the line; null where it is of none.
const Kind* kindOf(const std::string& line);

} // namespace impsconverter
