#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

namespace impsconverter
{

/// A colour in DICOM CIELab scaling, each component 0 to 65535 (PS3.3 C.10.7.1.1).
class DicomCieLab
{
public:
  /// Red, green and blue of sRGB, 0 to 1. Larger ones, as the helper lines pass on a scale to 255, are converted by the
  /// same formulas, and the result exceeds 65535.
  DicomCieLab(double r, double g, double b);

  /// Puts the colour into `item` as a US element of three values L, a, b, each rounded and reduced to its low 16 bits.
  /// A failure is reported and returned, an element that is there already (EC_DoubledTag) included.
  OFCondition addTo(DcmItem* item, const DcmTagKey& tag) const;

  double L = 0.0;
  double a = 0.0;
  double b = 0.0;
};

} // namespace impsconverter
