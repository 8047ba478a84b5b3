#include "DicomCieLab.h"

#include "ElementWriter.h"

#include <dcmtk/dcmiod/cielabutil.h>

#include <array>
#include <cmath>

namespace impsconverter
{
namespace
{

/// The low 16 bits of the rounded value. A cast of a double that the integer cannot hold is undefined, and the toolkit
/// returns values far above 65535 for components above 1.
Uint16 lowBits(double value)
{
  constexpr double kModulus = 65536.0;
  const double rounded = std::isfinite(value) ? std::round(value) : 0.0;
  return static_cast<Uint16>(static_cast<Sint64>(std::fmod(rounded, kModulus)));
}

} // namespace

DicomCieLab::DicomCieLab(double red, double green, double blue)
{
  IODCIELabUtil::rgb2DicomLab(L, a, b, red, green, blue);
}

OFCondition DicomCieLab::addTo(DcmItem* item, const DcmTagKey& tag) const
{
  const std::array<Uint16, 3> values{lowBits(L), lowBits(a), lowBits(b)};
  auto element = std::make_unique<DcmUnsignedShort>(DcmTag(tag));
  OFCondition status = element->putUint16Array(values.data(), values.size());
  if (status.bad())
  {
    reportCondition("CIELab Color value could not be inserted: ", status);
    return status;
  }
  status = insertOwned(*item, std::move(element), false);
  if (status.bad())
    reportCondition("CIELab Color could not be inserted: ", status);
  return status;
}

} // namespace impsconverter
