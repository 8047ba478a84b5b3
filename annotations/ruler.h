#pragma once

#include "annotations/Annotation.h"

namespace impsconverter
{

/// A distance: a straight line from the base point to its end, and its label. Becomes a POLYLINE of two points and a
/// text object; as a compound graphic RULER with ticks, or RANGELINE.
class Ruler : public Annotation
{
public:
  using Annotation::Annotation;

  bool parseSpecific(const std::string& type, const std::string& params) override;
  bool createCompound() override;
  bool createSimple() override;
  bool createText() override { return addValueLabel(label); }
  Shape shape() const override { return {Form::segment, ends(), label}; }

private:
  std::vector<Point> ends() const;

  int endX = 0; ///< far end, image pixels
  int endY = 0;
  bool showTickMarks = false; ///< of the compound graphic alone
  std::string label;
};

} // namespace impsconverter
