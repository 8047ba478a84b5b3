#include "annotations/ruler.h"

#include "base/report.h"
#include "pstate/ElementWriter.h"

#include <cstdio>

namespace impsconverter
{

bool Ruler::parseSpecific(const std::string& type, const std::string& params)
{
  LabelBuffer buffer;
  int ticks = 0;
  const int count = std::sscanf(params.c_str(), " %d %d " LABEL_FORMAT " %d", &endX, &endY, buffer.data(), &ticks);
  if (!enoughArguments(type, count, 4))
    return false;
  label = buffer.decoded();
  showTickMarks = ticks != 0;
  if (debug)
  {
    tarn::base::trace("Ruler arguments: ", count);
    tarn::base::trace(" End X: ", endX);
    tarn::base::trace(" End Y: ", endY);
    tarn::base::trace(" Label: ", label);
    tarn::base::trace(" Show Tick Marks: ", showTickMarks);
  }
  return true;
}

std::vector<Float32> Ruler::ends() const
{
  return {static_cast<Float32>(baseX), static_cast<Float32>(baseY), static_cast<Float32>(endX),
          static_cast<Float32>(endY)};
}

bool Ruler::createSimple()
{
  return addPolyline(ends());
}

bool Ruler::createCompound()
{
  DcmItem* item = addCompound(ends(), showTickMarks ? "RULER" : "RANGELINE");
  if (!item)
    return false;
  ElementWriter writer(*item);
  if (showTickMarks)
    writer.text(DCM_TickAlignment, EVR_CS, "CENTER", "Tick Alignment could not be created: ")
        .text(DCM_TickLabelAlignment, EVR_CS, "BOTTOM", "Tick Label Alignment could not be created: ")
        .text(DCM_ShowTickLabel, EVR_CS, "N", "Show Tick Label could not be created: ");
  return complete(writer, *item);
}

bool Ruler::createText()
{
  return addValueLabel(label);
}

} // namespace impsconverter
