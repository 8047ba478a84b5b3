// The limits on what the parser is given.
#include "dicom/InputStream.h"

#include "base/text.h"
#include "dicom/failure.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace tarn::dicom
{
namespace
{

// Not the address of a local variable: that may lie on a heap of the address sanitizer.
[[gnu::always_inline]] inline std::uintptr_t frameHere()
{
  return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
}

/// Reads a value that the parser passed over.
class ValueStream : public DcmInputStream
{
public:
  ValueStream(std::shared_ptr<const InputFile> file, offile_off_t offset)
    : DcmInputStream(&producer), producer(std::move(file), offset)
  {
  }
  DcmInputStreamFactory* newFactory() const override { return nullptr; }

private:
  FileProducer producer;
};

class ValueFactory : public DcmInputStreamFactory
{
public:
  ValueFactory(std::shared_ptr<const InputFile> file, offile_off_t offset) : file(std::move(file)), offset(offset) {}

  DcmInputStream* create() const override { return new ValueStream(file, offset); }
  DcmInputStreamFactory* clone() const override { return new ValueFactory(*this); }
  DcmInputStreamFactoryType ident() const override { return DFT_DcmInputFileStreamFactory; }

private:
  std::shared_ptr<const InputFile> file;
  offile_off_t offset;
};

} // namespace

InputStream::InputStream(std::shared_ptr<const InputFile> file, const ReadLimits& limits)
  : DcmInputStream(&producer), producer(std::move(file), 0), inflatedBytes(limits.inflatedBytes),
    guard(limits, frameHere())
{
}

OFCondition InputStream::trouble() const
{
  return refused().bad() ? refused() : producer.status();
}

offile_off_t InputStream::read(void* buffer, offile_off_t length)
{
  const offile_off_t got = DcmInputStream::read(buffer, allowed(length));
  checkInflated();
  guard.onRead(frameHere());
  return got;
}

offile_off_t InputStream::skip(offile_off_t length)
{
  const offile_off_t got = DcmInputStream::skip(allowed(length));
  checkInflated();
  return got;
}

void InputStream::mark()
{
  guard.onMark();
  DcmInputStream::mark();
}

OFCondition InputStream::installCompressionFilter(E_StreamCompression type)
{
  inflatedFrom = tell();
  return DcmInputStream::installCompressionFilter(type);
}

DcmInputStreamFactory* InputStream::newFactory() const
{
  return inflatedFrom < 0 ? new ValueFactory(producer.source(), tell()) : nullptr;
}

/// How much of `length` bytes may be given out: one more than the limit on inflated bytes shows that it was passed.
offile_off_t InputStream::allowed(offile_off_t length) const
{
  if (refused().bad())
    return 0;
  if (inflatedFrom < 0)
    return length;
  const auto done = static_cast<std::uint64_t>(tell() - inflatedFrom);
  const std::uint64_t left = inflatedBytes - std::min(done, inflatedBytes);
  constexpr std::uint64_t kMost = std::numeric_limits<offile_off_t>::max();
  return std::min(length, static_cast<offile_off_t>(std::min(left, kMost - 1) + 1));
}

void InputStream::checkInflated()
{
  if (inflatedFrom >= 0 && static_cast<std::uint64_t>(tell() - inflatedFrom) > inflatedBytes)
    tooLarge = failure(
        base::joined("The data set inflates to more than the ", inflatedBytes, " bytes of TARN_MAX_INFLATED_BYTES"));
}

} // namespace tarn::dicom
