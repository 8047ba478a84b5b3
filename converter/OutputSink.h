#pragma once

#include "converter/Account.h"

#include <string>

namespace impsconverter
{

class ObjectInfo;
class ValidPresentationState;

/// What a conversion tells of an output beside the object itself.
struct OutputContext
{
  const Account::Lines& lines; ///< annotation lines that stand in it
  const ObjectInfo& image;     ///< that it is for
};

/// Why an output cannot be given out although nothing failed: its lines are lost for this reason, and the conversion
/// goes on.
struct OutputRefusal
{
  std::string code; ///< empty where there is none
  std::string detail;
};

/// Takes the outputs of a conversion, one after the other.
class OutputSink
{
public:
  virtual ~OutputSink() = default;

  /// `output` is cleaned, and goes when the call returns. Returns false after a message where the output cannot be
  /// taken, which ends the conversion. `refusal` is empty, and filled where the output is not wanted as it is.
  [[nodiscard]] virtual bool take(ValidPresentationState& output, const OutputContext& context,
                                  OutputRefusal& refusal) = 0;
};

} // namespace impsconverter
