#include "annotations/text.h"

#include "base/report.h"

#include <cstdio>

namespace impsconverter
{

bool Text::parseSpecific(const std::string& type, const std::string& params)
{
  LabelBuffer buffer;
  int unused = 0;
  const int count = std::sscanf(params.c_str(), " %d " LABEL_FORMAT, &unused, buffer.data());
  if (!enoughArguments(type, count, 2))
    return false;
  label = buffer.decoded();
  if (debug)
  {
    tarn::base::trace("Text arguments: ", count);
    tarn::base::trace(" Label: ", label);
  }
  return true;
}

bool Text::createText()
{
  return addText(baseX, baseY, label, false);
}

} // namespace impsconverter
