#include "dicom/EncodedItems.h"

#include "dicom/encoding.h"

#include <dcmtk/dcmdata/dcwcache.h>

#include <algorithm>
#include <array>
#include <memory>

namespace tarn::dicom
{
namespace
{

constexpr std::size_t kBlock = 4096;
constexpr std::size_t kPiece = 65536;

/// The encoded items of a sequence, made when absent; null when the sequence does not take them.
EncodedItems* encodedItemsOf(DcmSequenceOfItems& sequence)
{
  if (auto* const there = dynamic_cast<EncodedItems*>(sequence.getItem(0)))
    return there;
  auto made = std::make_unique<EncodedItems>();
  return sequence.prepend(made.get()).good() ? made.release() : nullptr;
}

} // namespace

OFCondition EncodedItems::absorb(DcmSequenceOfItems& sequence, E_TransferSyntax syntax)
{
  EncodedItems* const items = encodedItemsOf(sequence);
  if (!items)
    return EC_IllegalCall;
  while (sequence.card() > 1)
  {
    const std::unique_ptr<DcmItem> item(sequence.remove(1UL));
    if (const OFCondition status = items->append(*item, syntax); status.bad())
      return status;
  }
  return EC_Normal;
}

OFCondition EncodedItems::append(DcmItem& item, E_TransferSyntax syntax)
{
  std::array<char, kBlock> buffer; // not cleared for each item
  DcmWriteCache cache;
  return encodeThrough(
      buffer.data(), static_cast<offile_off_t>(buffer.size()), item,
      [&](DcmOutputStream& stream) { return item.write(stream, syntax, EET_UndefinedLength, &cache); },
      [&](const char* bytes, std::size_t length)
      {
        keep(bytes, length);
        return EC_Normal;
      });
}

void EncodedItems::keep(const char* text, std::size_t length)
{
  if (encoded.empty() || encoded.back().size() >= kPiece)
    encoded.emplace_back();
  encoded.back().append(text, length);
}

Uint32 EncodedItems::calcElementLength(E_TransferSyntax /*syntax*/, E_EncodingType /*lengths*/)
{
  std::size_t length = 0;
  for (const std::string& piece : encoded)
    length += piece.size();
  return static_cast<Uint32>(std::min<std::size_t>(length, DCM_UndefinedLength));
}

OFCondition EncodedItems::write(DcmOutputStream& stream, E_TransferSyntax /*syntax*/, E_EncodingType /*lengths*/,
                                DcmWriteCache* /*cache*/)
{
  if (transferState() == ERW_init)
  {
    pieces = offset = 0;
    setTransferState(ERW_inWork);
  }
  for (; pieces < encoded.size(); ++pieces, offset = 0)
  {
    const std::string& piece = encoded[pieces];
    offset +=
        static_cast<std::size_t>(stream.write(piece.data() + offset, static_cast<offile_off_t>(piece.size() - offset)));
    if (stream.status().bad() || offset < piece.size())
      return stream.status().bad() ? stream.status() : EC_StreamNotifyClient;
  }
  setTransferState(ERW_ready);
  return EC_Normal;
}

} // namespace tarn::dicom
