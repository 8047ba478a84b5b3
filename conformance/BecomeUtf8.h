#pragma once

#include "conformance/Examination.h"
#include "conformance/texts.h"

#include <memory>

namespace tarn::conformance
{

/// The one remedy for all findings of a rule that makes the data set ISO_IR 192: the first that runs does it.
class BecomeUtf8
{
public:
  explicit BecomeUtf8(Examination& state) : state(state) {}

  /// None where a text cannot be decoded.
  Examination::Remedy remedy()
  {
    if (!isPlanned)
      if (auto texts = utf8TextsOf(state.texts()))
        plan = std::make_shared<std::optional<Utf8Texts>>(std::move(texts));
    isPlanned = true;
    if (!plan)
      return {};
    return [plan = plan, root = state.root()]
    {
      if (*plan)
        (*plan)->putInto(root);
      plan->reset();
    };
  }

private:
  Examination& state;
  bool isPlanned = false;
  std::shared_ptr<std::optional<Utf8Texts>> plan;
};

} // namespace tarn::conformance
