#pragma once

#include "conformance/Examination.h"
#include "conformance/Finding.h"

#include <vector>

namespace tarn::conformance
{

/// A rule that a presentation state has to obey. The code is stable for ever.
struct Rule
{
  const char* code;   ///< of the fault: words in kebab case
  const char* remedy; ///< code of what is done about it, in the past tense; null where nothing can be done
  const char* clause; ///< of PS3.3 unless it says otherwise
  Level level;
  const char* what; ///< one sentence for the documents
  /// Adds a finding, with its remedy where there is one, for each place where the rule is broken.
  void (*examine)(Examination& state);
};

/// All rules, in the order in which they are checked and mended: what a rule needs has been mended by those before it.
const std::vector<Rule>& rules();

} // namespace tarn::conformance
