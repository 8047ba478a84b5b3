#pragma once

#include <string>

namespace tarn::conformance
{

enum class Level
{
  error, ///< a rule of PS3.3 is broken
  note   ///< allowed, but readers are known to stumble over it
};

/// A place in a presentation state where a rule is broken.
struct Finding
{
  const char* code;   ///< of the rule, stable for ever
  const char* clause; ///< of PS3.3, unless it says otherwise
  Level level;
  std::string
      at; ///< the path in the data set: "GraphicAnnotationSequence[0].TextObjectSequence[3]"; empty for its root
  std::string text; ///< what is wrong there
};

} // namespace tarn::conformance
