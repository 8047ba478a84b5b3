#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

namespace impsconverter
{

/// A colour in DICOM CIELab scaling, each component 0 to 65535 (PS3.3 C.10.7.1.1).
class DicomCieLab
{
public:
  /// Red, green and blue, as the toolkit's conversion takes them.
  DicomCieLab(double r, double g, double b);

  /// Puts the colour into `item` as a US element of three values, each rounded and cut to 16 bits. A failure is
  /// reported and returned.
  OFCondition addTo(DcmItem* item, const DcmTagKey& tag) const;

  double L = 0.0;
  double a = 0.0;
  double b = 0.0;
};

} // namespace impsconverter
