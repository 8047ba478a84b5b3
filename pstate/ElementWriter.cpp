// Elements put into an item, one after another, each failure a line.
#include "pstate/ElementWriter.h"

#include "base/report.h"
#include "dicom/contents.h"

#include <array>
#include <memory>

namespace impsconverter
{
namespace
{

constexpr signed long kFirst = 0;
constexpr signed long kAppend = -2;

/// An element of that tag that is no sequence, whatever the toolkit says of it, gives no item.
OFCondition sequenceItem(DcmItem& item, const DcmTagKey& sequence, DcmItem*& result, signed long position)
{
  result = nullptr;
  const OFCondition status = item.findOrCreateSequenceItem(DcmTag(sequence, EVR_SQ), result, position);
  return status.good() && !result ? EC_InvalidVR : status;
}

} // namespace

bool isGood(const OFCondition& status, std::string_view message)
{
  if (status.bad())
    tarn::base::report(message, status.text());
  return status.good();
}

template <class Put>
ElementWriter& ElementWriter::step(const char* message, Put put)
{
  if (good)
  {
    const OFCondition status = put();
    good = message ? isGood(status, message) : status.good();
  }
  return *this;
}

ElementWriter& ElementWriter::text(const DcmTagKey& tag, DcmEVR vr, const std::string& value, const char* message)
{
  return step(message, [&] { return item->putAndInsertString(DcmTag(tag, vr), value.c_str()); });
}

ElementWriter& ElementWriter::number(const DcmTagKey& tag, Uint16 value, const char* message)
{
  return step(message, [&] { return item->putAndInsertUint16(DcmTag(tag, EVR_US), value); });
}

ElementWriter& ElementWriter::number(const DcmTagKey& tag, Uint32 value, const char* message)
{
  return step(message, [&] { return item->putAndInsertUint32(DcmTag(tag, EVR_UL), value); });
}

ElementWriter& ElementWriter::real(const DcmTagKey& tag, Float32 value, const char* message)
{
  return step(message, [&] { return item->putAndInsertFloat32(DcmTag(tag, EVR_FL), value); });
}

ElementWriter& ElementWriter::real(const DcmTagKey& tag, Float64 value, const char* message)
{
  return step(message, [&] { return item->putAndInsertFloat64(DcmTag(tag, EVR_FD), value); });
}

ElementWriter& ElementWriter::floats(const DcmTagKey& tag, const std::vector<Float32>& values, const char* valueMessage,
                                     const char* insertMessage)
{
  auto element = std::make_unique<DcmFloatingPointSingle>(DcmTag(tag, EVR_FL));
  step(valueMessage, [&] { return element->putFloat32Array(values.data(), values.size()); });
  return step(insertMessage, [&] { return tarn::dicom::insertOwned(*item, std::move(element), true); });
}

ElementWriter& ElementWriter::newPair(const DcmTagKey& tag, Sint32 first, Sint32 second, const char* valueMessage,
                                      const char* insertMessage)
{
  auto element = std::make_unique<DcmSignedLong>(DcmTag(tag, EVR_SL));
  const std::array<Sint32, 2> values{first, second};
  step(valueMessage, [&] { return element->putSint32Array(values.data(), values.size()); });
  return step(insertMessage, [&] { return tarn::dicom::insertOwned(*item, std::move(element), false); });
}

ElementWriter& ElementWriter::firstItem(const DcmTagKey& sequence, DcmItem*& found, const char* message)
{
  return step(message, [&] { return sequenceItem(*item, sequence, found, kFirst); });
}

ElementWriter& ElementWriter::appendItem(const DcmTagKey& sequence, DcmItem*& created, const char* message)
{
  return step(message, [&] { return sequenceItem(*item, sequence, created, kAppend); });
}

} // namespace impsconverter
