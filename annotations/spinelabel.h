#pragma once

#include "annotations/Annotation.h"

namespace impsconverter
{

/// A square of 5 x 5 image pixels, its top left corner at the base point, and a label that may stand away from it, and
/// is then tied to it by a dashed line. Becomes POLYLINEs and a text object.
class SpineLabel : public Annotation
{
public:
  using Annotation::Annotation;

  bool parseSpecific(const std::string& type, const std::string& params) override;
  bool createCompound() override { return true; }
  bool createSimple() override;
  bool createText() override;
  Shape shape() const override { return {Form::marks, {base()}, label}; }

private:
  bool isLabelAway() const;
  void addTie();

  std::string label;
  int textX = 0; ///< top left corner of the label, image pixels
  int textY = 0;
};

} // namespace impsconverter
