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
  bool createText() override;

protected:
  /// What the scans of all classes fill; a field that a scan does not reach keeps its default.
  struct Parameters
  {
    int x = 0;
    int y = 0;
    LabelBuffer label;
    double unused = 0.0;
    float angle = 0.0F;
    int center = 0;
  };

  /// Reports a scan of too few parameters, or takes them over.
  bool accept(const std::string& type, int count, const Parameters& scanned);
  /// Takes the parameters over; `buffer` is still encoded, `angle` in degrees.
  void setValues(const std::string& type, int x, int y, const LabelBuffer& buffer, float angle, bool center);

private:
  std::vector<Float32> axisEnds() const;

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
