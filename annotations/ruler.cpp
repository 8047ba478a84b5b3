// A distance between two points.
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

std::vector<Point> Ruler::ends() const
{
  return {base(), pointAt(endX, endY)};
}

bool Ruler::createSimple()
{
  return addPolyline(ends());
}

bool Ruler::createCompound()
{
  const auto writeTicks = [](ElementWriter& writer)
  {
    writer.text(DCM_TickAlignment, EVR_CS, "CENTER", "Tick Alignment could not be created: ")
        .text(DCM_TickLabelAlignment, EVR_CS, "BOTTOM", "Tick Label Alignment could not be created: ")
        .text(DCM_ShowTickLabel, EVR_CS, "N", "Show Tick Label could not be created: ");
  };
  return showTickMarks ? addCompound(GraphicType::ruler, ends(), writeTicks)
                       : addCompound(GraphicType::rangeLine, ends());
}

} // namespace impsconverter
