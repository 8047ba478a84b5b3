#include "annotations/ruler.h"

#include "pstate/ElementWriter.h"

namespace impsconverter
{

bool Ruler::parseSpecific(const std::string& type, const std::string& params)
{
  return specific(type, params)
      .number(endX, " End X")
      .number(endY, " End Y")
      .label(label, " Label")
      .flag(showTickMarks, " Show Tick Marks")
      .atLeast(4, "Ruler");
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
