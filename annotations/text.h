#pragma once

#include "annotations/Annotation.h"

namespace impsconverter
{

/// A free text with its top left corner at the base point. It is written whether or not values are shown.
class Text : public Annotation
{
public:
  using Annotation::Annotation;

  bool parseSpecific(const std::string& type, const std::string& params) override;
  bool createCompound() override { return true; }
  bool createSimple() override { return createCompound(); }
  bool createText() override;

private:
  std::string label;
};

} // namespace impsconverter
