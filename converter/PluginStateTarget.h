#pragma once

#include "pstate/PresentationState.h"

#include <string>

namespace impsconverter
{

class ValidPresentationState;

/// What the lines of a plug-in state act on. The setters of PresentationState go to the output of the image that the
/// last ID line named; they fail where there is none.
class PluginStateTarget : public PresentationState
{
public:
  using PresentationState::PresentationState;

  /// Begins the output for an image. `objectName` is a prefix, a point and the SOP Instance UID of the image
  /// ("CT.1.2.3"); `frame` is written as it stands. An image that nothing knows is no failure: its output takes what
  /// the lines say, and is dropped.
  [[nodiscard]] virtual bool openOutput(const std::string& objectName, const std::string& frame) = 0;
  /// Gives out what was opened last; true as well where that has been done, or is dropped.
  [[nodiscard]] virtual bool finishOutput() = 0;
  /// What annotations are written into; null before the first ID line.
  virtual ValidPresentationState* currentOutput() = 0;
};

} // namespace impsconverter
