// The table of all rules. A rule is added by a row here and its function in the file of its module.
#include "conformance/Rule.h"

#include "conformance/referenceRules.h"

namespace tarn::conformance
{

const std::vector<Rule>& rules()
{
  static const std::vector<Rule> kRules{
      {"reference-missing", nullptr, "C.11.11", Level::error,
       "A presentation state refers to at least one series, and each series to at least one image.", examineReferences},
      {"reference-uid-invalid", nullptr, "C.11.11, 10.3", Level::error,
       "The UIDs of series, class and instance of an image are there, and are UIDs.", examineReferenceUids},
      {"frame-number-unfit", "frame-number-removed", "10.3", Level::error,
       "Frame numbers stand with multi-frame classes alone, and number frames that the image has.",
       examineFrameNumbers},
  };
  return kRules;
}

} // namespace tarn::conformance
