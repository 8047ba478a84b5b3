#pragma once

#include "annotations/Annotation.h"

namespace impsconverter
{

/// An ellipse around the base point. Becomes an ELLIPSE by the four ends of its axes and a text object; as a compound
/// graphic ELLIPSE by its unrotated box and a rotation.
class Oval : public Annotation
{
public:
  using Annotation::Annotation;

  bool parseSpecific(const std::string& type, const std::string& params) override;
  bool createCompound() override;
  bool createSimple() override;
  bool createText() override { return addValueLabel(label); }

protected:
  /// What the lines of all classes say; a field that a line lacks keeps its default.
  struct Values
  {
    int sizeX = 0;
    int sizeY = 0;
    std::string label; ///< still URL-encoded
    float rotation = 0.0F;
    int center = 0;
  };

  /// Takes over what `scanned` read into `values`, or reports that it is too little.
  bool accept(const std::string& type, const Parameters& scanned, const Values& values);
  /// Stores the values: the sizes without their signs, the label decoded, the rotation in degrees.
  void setValues(const std::string& type, int x, int y, const std::string& encodedLabel, float degrees, bool center);

private:
  std::vector<Point> axisEnds() const;

  int sizeX = 0; ///< half-axis along the rotated X direction, image pixels
  int sizeY = 0;
  std::string label;
  float rotation = 0.0F; ///< degrees
  bool showCenter = false;
};

/// An oval with a rotation.
class SkewOval : public Oval
{
public:
  using Oval::Oval;
  bool parseSpecific(const std::string& type, const std::string& params) override;
};

/// An oval region of a Hounsfield measurement; what was measured is part of the label.
class HounsField : public Oval
{
public:
  using Oval::Oval;
  bool parseSpecific(const std::string& type, const std::string& params) override;
};

/// A Hounsfield region with a rotation.
class SkewHounsField : public HounsField
{
public:
  using HounsField::HounsField;
  bool parseSpecific(const std::string& type, const std::string& params) override;
};

} // namespace impsconverter
