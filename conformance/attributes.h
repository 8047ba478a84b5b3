#pragma once

#include "conformance/Examination.h"

#include <vector>

namespace tarn::conformance
{

/// What a value has to be like.
enum class Form
{
  term,     ///< one of `terms`
  any,      ///< there is one
  number,   ///< finite
  positive, ///< finite, above 0
  fraction, ///< from 0 to 1
  whole,    ///< a number without a fraction
  point,    ///< two numbers; that they are finite is a rule of its own
  color     ///< three 16 bit numbers: CIELab (PS3.3 C.10.7.1.1)
};

/// A row of a module's table of attributes.
struct Attribute
{
  DcmTagKey tag;
  Form form;
  bool (*isRequired)(const Placed& item); ///< null: type 3
  std::vector<const char*> terms = {};
};

bool always(const Placed& item);

/// Finds what is missing in the item, and values that are not of their form.
void examineAttributes(Examination& state, const Placed& item, const std::vector<Attribute>& attributes);

} // namespace tarn::conformance
