#pragma once

#include "annotations/Annotation.h"

namespace impsconverter
{

/// An angle: two rays from the base point. Becomes a POLYLINE of three points and a text object, and in the mode "ex" a
/// dashed line that extends the second ray beyond the vertex; as a compound graphic MULTILINE.
class Angle : public Annotation
{
public:
  using Annotation::Annotation;

  bool parseSpecific(const std::string& type, const std::string& params) override;
  bool createCompound() override;
  bool createSimple() override;
  bool createText() override { return addValueLabel(label); }
  Shape shape() const override { return {Form::rays, rays(), label}; }

private:
  std::vector<Point> rays() const;

  int ray1X = 0; ///< far ends of the rays, image pixels
  int ray1Y = 0;
  int ray2X = 0;
  int ray2Y = 0;
  std::string label;
  std::string mode; ///< "ex" or anything else
};

} // namespace impsconverter
