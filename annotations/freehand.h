#pragma once

#include "Annotation.h"

namespace impsconverter
{

/// A closed outline through any number of vertices. Becomes one POLYLINE, whose last point repeats the first, and a
/// text object.
class FreeHand : public Annotation
{
public:
  using Annotation::Annotation;

  bool parseSpecific(const std::string& type, const std::string& params) override;
  bool createCompound() override { return true; }
  bool createSimple() override;
  bool createText() override;

private:
  bool parseVertices(const std::string& type, const char*& cursor);
  void traceArguments() const;

  std::vector<int> xs; ///< columns of the vertices, image pixels
  std::vector<int> ys;
  std::string label;
};

} // namespace impsconverter
