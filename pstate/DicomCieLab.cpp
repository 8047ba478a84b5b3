// Colours as style elements have them, CIELab scaled to 16 bits (PS3.3 C.10.7.1.1).
#include "pstate/DicomCieLab.h"

#include "dicom/contents.h"
#include "pstate/ElementWriter.h"

#include <array>
#include <cmath>
#include <memory>

namespace impsconverter
{
namespace
{

// The arithmetic is, to the bit, that of the toolkit's conversion, whose library is loaded for nothing else.

/// The linear light of a component of sRGB (IEC 61966-2-1).
double linear(double component)
{
  return component <= 0.0404482362771076 ? component / 12.92 : std::pow((component + 0.055) / 1.055, 2.4);
}

/// What CIELab makes of a component of XYZ, given as a share of the white point's (ISO 11664-4).
double compressed(double share)
{
  return share >= 8.85645167903563082e-3 ? std::pow(share, 0.333333333333333) : (841.0 / 108.0) * share + (4.0 / 29.0);
}

/// The low 16 bits of the rounded value. A cast of a double that the integer cannot hold is undefined, and the
/// conversion gives values far above 65535 for components above 1.
Uint16 lowBits(double value)
{
  constexpr double kModulus = 65536.0;
  const double rounded = std::isfinite(value) ? std::round(value) : 0.0;
  return static_cast<Uint16>(static_cast<Sint64>(std::fmod(rounded, kModulus)));
}

} // namespace

DicomCieLab::DicomCieLab(double red, double green, double blue)
{
  const double r = linear(red);
  const double g = linear(green);
  const double l = linear(blue);
  // XYZ as shares of the white point D65
  const double x =
      compressed((0.4123955889674142161 * r + 0.3575834307637148171 * g + 0.1804926473817015735 * l) / 0.950456);
  const double y = compressed(0.2125862307855955516 * r + 0.7151703037034108499 * g + 0.07220049864333622685 * l);
  const double z =
      compressed((0.01929721549174694484 * r + 0.1191838645808485318 * g + 0.9504971251315797660 * l) / 1.088754);
  L = (116 * y - 16) * 65535.0 / 100.0;
  a = (500 * (x - y) + 128) * 65535.0 / 255.0;
  b = (200 * (y - z) + 128) * 65535.0 / 255.0;
}

OFCondition DicomCieLab::addTo(DcmItem* item, const DcmTagKey& tag) const
{
  const std::array<Uint16, 3> values{lowBits(L), lowBits(a), lowBits(b)};
  auto element = std::make_unique<DcmUnsignedShort>(DcmTag(tag, EVR_US));
  OFCondition status = element->putUint16Array(values.data(), values.size());
  if (!isGood(status, "CIELab Color value could not be inserted: "))
    return status;
  status = tarn::dicom::insertOwned(*item, std::move(element), false);
  isGood(status, "CIELab Color could not be inserted: ");
  return status;
}

} // namespace impsconverter
