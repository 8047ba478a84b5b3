// A text of its own.
#include "annotations/text.h"

namespace impsconverter
{

bool Text::parseSpecific(const std::string& type, const std::string& params)
{
  return specific(type, params).skipNumbers(1).label(label, " Label").atLeast(2, "Text");
}

bool Text::createText()
{
  return addText(baseX, baseY, label, false);
}

} // namespace impsconverter
