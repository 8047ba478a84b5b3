#pragma once

#include "Annotation.h"

namespace impsconverter
{

/// A small square at the base point and a label that may stand away from it, and is then tied to it by a dashed line.
class SpineLabel : public Annotation
{
public:
  using Annotation::Annotation;

  bool parseSpecific(const std::string& type, const std::string& params) override;
  bool createCompound() override { return true; }
  bool createSimple() override;
  bool createText() override;

private:
  bool isLabelAway() const;
  void addTie();

  std::string label;
  int textX = 0; ///< top left corner of the label
  int textY = 0;
};

} // namespace impsconverter
