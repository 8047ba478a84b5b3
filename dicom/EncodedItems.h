#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <deque>
#include <string>

namespace tarn::dicom
{

/// Finished items of a sequence, as the bytes that they have in a file. The toolkit's elements take several times that,
/// and every step of saving visits each of them; a sequence of any length is kept in one object instead.
///
/// It stands in the sequence as its first item. It can be written, in the transfer syntax that it was made for and with
/// undefined lengths, and counted into a group length; to every other use of the sequence its items are gone.
class EncodedItems : public DcmItem
{
public:
  /// Takes over all items that `sequence` has. After an error those that are left are items as before.
  static OFCondition absorb(DcmSequenceOfItems& sequence, E_TransferSyntax syntax);

  Uint32 calcElementLength(E_TransferSyntax syntax, E_EncodingType lengths) override;
  OFCondition write(DcmOutputStream& stream, E_TransferSyntax syntax, E_EncodingType lengths,
                    DcmWriteCache* cache) override;

private:
  OFCondition append(DcmItem& item, E_TransferSyntax syntax);
  void keep(const char* bytes, std::size_t length);

  std::deque<std::string> encoded; ///< in pieces, so that it grows without being copied
  std::size_t pieces = 0;          ///< written by a write that is going on
  std::size_t offset = 0;          ///< in the piece behind them
};

} // namespace tarn::dicom
