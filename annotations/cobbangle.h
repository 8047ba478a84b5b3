#pragma once

#include "annotations/Annotation.h"

namespace impsconverter
{

/// A Cobb angle: the angle between two separate lines. Becomes two POLYLINEs, dashed helper lines from their midpoints
/// to the label, or to each other when there is none, and a text object; in the mode "ex" a dashed line that extends
/// the second line beyond its start.
class CobbAngle : public Annotation
{
public:
  using Annotation::Annotation;

  bool parseSpecific(const std::string& type, const std::string& params) override;
  bool createCompound() override { return true; }
  bool createSimple() override;
  bool createText() override { return addValueLabel(label); }
  Shape shape() const override;

private:
  std::vector<Point> firstLine() const;
  std::vector<Point> secondLine() const;
  void addHelperLines();

  int endX = 0; ///< far end of the first line, which starts at the base point; image pixels like all of them
  int endY = 0;
  int rayBaseX = 0; ///< the second line
  int rayBaseY = 0;
  int rayEndX = 0;
  int rayEndY = 0;
  std::string label;
  std::string mode; ///< "ex" or anything else
};

} // namespace impsconverter
