#pragma once

#include "converter/Account.h"

namespace impsconverter
{

class ValidPresentationState;

/// Takes the outputs of a conversion, one after the other.
class OutputSink
{
public:
  virtual ~OutputSink() = default;

  /// `output` is cleaned, and goes when the call returns; `lines` are the annotation lines that stand in it. Returns
  /// false after a message where the output cannot be taken, which ends the conversion.
  [[nodiscard]] virtual bool take(ValidPresentationState& output, const Account::Lines& lines) = 0;
};

} // namespace impsconverter
