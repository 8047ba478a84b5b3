#pragma once

#include "annotations/Annotation.h"

namespace impsconverter
{

/// An arrow from its tail to the base point, without a label. Becomes two POLYLINEs, the shaft and the head; as a
/// compound graphic ARROW.
class Pointer : public Annotation
{
public:
  using Annotation::Annotation;

  bool parseSpecific(const std::string& type, const std::string& params) override;
  bool createCompound() override;
  bool createSimple() override;
  bool createText() override { return true; }
  Shape shape() const override { return {Form::marks, shaft(), {}}; }

private:
  std::vector<Point> shaft() const { return {base(), pointAt(endX, endY)}; }
  bool addHead();

  int endX = 0; ///< the tail, image pixels
  int endY = 0;
};

} // namespace impsconverter
