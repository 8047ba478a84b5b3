#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

namespace tarn::picture
{

/// Whether pixels stand in fragments: in every transfer syntax but the native ones (PS3.5 A.1 to A.3, A.5). The
/// toolkit's own question has another name in each release.
inline bool isEncapsulated(E_TransferSyntax syntax)
{
  switch (syntax)
  {
  case EXS_Unknown:
  case EXS_LittleEndianImplicit:
  case EXS_BigEndianImplicit:
  case EXS_LittleEndianExplicit:
  case EXS_BigEndianExplicit:
  case EXS_DeflatedLittleEndianExplicit:
    return false;
  default:
    return true;
  }
}

} // namespace tarn::picture
