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

  bool parseSpecific(const std::string& type, const std::string& params) override
  {
    return scan(type, params, /*measuredValues=*/0, /*isRotated=*/false);
  }
  bool createCompound() override;
  bool createSimple() override;
  bool createText() override { return addValueLabel(label); }
  Shape shape() const override { return {Form::ellipse, axisEnds(), label}; }

protected:
  /// Reads the sizes, the label, as many measured values, which are not used, the rotation where there is one, and
  /// whether to show the center. The first three are required; others that the line lacks are 0.
  bool scan(const std::string& type, const std::string& params, int measuredValues, bool isRotated);
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
  bool parseSpecific(const std::string& type, const std::string& params) override
  {
    return scan(type, params, /*measuredValues=*/0, /*isRotated=*/true);
  }
};

/// An oval region of a Hounsfield measurement; what was measured is part of the label.
class HounsField : public Oval
{
public:
  using Oval::Oval;
  bool parseSpecific(const std::string& type, const std::string& params) override
  {
    return scan(type, params, /*measuredValues=*/2, /*isRotated=*/false);
  }
};

/// A Hounsfield region with a rotation.
class SkewHounsField : public HounsField
{
public:
  using HounsField::HounsField;
  bool parseSpecific(const std::string& type, const std::string& params) override
  {
    return scan(type, params, /*measuredValues=*/2, /*isRotated=*/true);
  }
};

} // namespace impsconverter
