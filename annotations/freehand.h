#pragma once

#include "annotations/Annotation.h"

namespace impsconverter
{

/// A closed outline through 1 to 65534 vertices. Becomes one POLYLINE, whose last point repeats the first, and a
/// text object. Refuses coordinates beyond 32 bits; where a number is missing, it and all that follow are 0.
class FreeHand : public Annotation
{
public:
  using Annotation::Annotation;

  bool parseSpecific(const std::string& type, const std::string& params) override;
  bool createCompound() override { return true; }
  bool createSimple() override;
  bool createText() override { return addValueLabel(label); }
  Shape shape() const override { return {Form::outline, vertices(), label}; }

private:
  std::vector<Point> vertices() const;
  bool parseVertices(const std::string& type, const char*& cursor);
  void traceArguments() const;

  std::vector<int> xs; ///< columns of the vertices, image pixels
  std::vector<int> ys;
  std::string label;
};

} // namespace impsconverter
