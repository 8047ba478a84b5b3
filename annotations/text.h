#pragma once

#include "annotations/Annotation.h"

namespace impsconverter
{

/// A free text with its top left corner at the base point. It is written whether or not values are shown.
class Text : public Annotation
{
public:
  using Annotation::Annotation;

  bool parseSpecific(const std::string& type, const std::string& params) override
  {
    return specific(type, params).skipNumbers(1).label(label, " Label").atLeast(2, "Text");
  }
  bool createCompound() override { return true; }
  bool createSimple() override { return createCompound(); }
  bool createText() override { return addText(baseX, baseY, label, /*centered=*/false); }
  Shape shape() const override { return {Form::marks, {base()}, label}; }

private:
  std::string label;
};

} // namespace impsconverter
