#include "dicom/InputStream.h"

#include "base/text.h"
#include "dicom/values.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace tarn::dicom
{
namespace
{

constexpr offile_off_t kBlock = 65536;

/// Bytes that the parser asks for at once where it looks for a tag: the header of an element (PS3.5 7.1.2), in parts or
/// whole. What it asks for beyond is a value.
constexpr offile_off_t kLongestHeader = 12;

// Not the address of a local variable: that may lie on a heap of the address sanitizer.
[[gnu::always_inline]] inline std::uintptr_t frameHere()
{
  return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
}

/// Reads, from its own place in a file, a value that was passed over while parsing.
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

class ValueStreamFactory : public DcmInputStreamFactory
{
public:
  ValueStreamFactory(std::shared_ptr<const InputFile> source, offile_off_t place)
    : file(std::move(source)), offset(place)
  {
  }
  DcmInputStream* create() const override { return new ValueStream(file, offset); }
  DcmInputStreamFactory* clone() const override { return new ValueStreamFactory(file, offset); }
  DcmInputStreamFactoryType ident() const override { return DFT_DcmInputFileStreamFactory; }

private:
  std::shared_ptr<const InputFile> file;
  offile_off_t offset;
};

} // namespace

FileProducer::FileProducer(std::shared_ptr<const InputFile> source, offile_off_t offset)
  : file(std::move(source)), position(offset)
{
}

offile_off_t FileProducer::read(void* buffer, offile_off_t length)
{
  auto* to = static_cast<char*>(buffer);
  const offile_off_t wanted = std::min(length, avail());
  offile_off_t left = wanted;
  while (left > 0 && condition.good())
  {
    const offile_off_t part = isInBlock() || left < kBlock ? copyFromBlock(to, left) : readPast(to, left);
    to += part;
    position += part;
    left -= part;
  }
  return wanted - left;
}

bool FileProducer::isInBlock() const
{
  return position >= blockStart && position < blockStart + static_cast<offile_off_t>(block.size());
}

offile_off_t FileProducer::copyFromBlock(char* to, offile_off_t length)
{
  if (!isInBlock())
  {
    block.resize(static_cast<std::size_t>(std::min(kBlock, avail())));
    blockStart = position;
    condition = file->read(position, block.data(), block.size());
  }
  if (condition.bad())
    return 0;
  const offile_off_t start = position - blockStart;
  const offile_off_t part = std::min(length, static_cast<offile_off_t>(block.size()) - start);
  std::memcpy(to, block.data() + start, static_cast<std::size_t>(part));
  return part;
}

/// Large values are not copied twice.
offile_off_t FileProducer::readPast(char* to, offile_off_t length)
{
  condition = file->read(position, to, static_cast<std::size_t>(length));
  return condition.good() ? length : 0;
}

offile_off_t FileProducer::skip(offile_off_t length)
{
  const offile_off_t skipped = std::min(length, avail());
  position += skipped;
  return skipped;
}

InputStream::InputStream(std::shared_ptr<const InputFile> file, const ReadLimits& readLimits, const DcmDataset& dataset)
  : DcmInputStream(&producer), producer(std::move(file), 0), limits(readLimits), guard(readLimits, dataset, frameHere())
{
  const offile_off_t size = producer.source()->size();
  if (static_cast<std::uint64_t>(size) > limits.fileBytes)
    tooLarge =
        failure(base::joined("The file has ", size, " bytes, and TARN_MAX_FILE_BYTES allows ", limits.fileBytes));
}

OFCondition InputStream::trouble() const
{
  return refused().bad() ? refused() : producer.status();
}

offile_off_t InputStream::read(void* buffer, offile_off_t length)
{
  const offile_off_t got = DcmInputStream::read(buffer, allowed(length));
  checkInflated();
  if (got <= kLongestHeader)
    tags.see(buffer, static_cast<std::size_t>(got));
  guard.onRead(frameHere(), buffer, got);
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
  guard.onMark(frameHere());
  DcmInputStream::mark();
}

OFCondition InputStream::installCompressionFilter(E_StreamCompression type)
{
  inflatedFrom = tell();
  return DcmInputStream::installCompressionFilter(type);
}

DcmInputStreamFactory* InputStream::newFactory() const
{
  return inflatedFrom < 0 ? new ValueStreamFactory(producer.source(), tell()) : nullptr;
}

/// How much of `length` bytes may be given out: one more than the limit on inflated bytes shows that it was passed.
offile_off_t InputStream::allowed(offile_off_t length) const
{
  if (refused().bad())
    return 0;
  if (inflatedFrom < 0)
    return length;
  const auto done = static_cast<std::uint64_t>(tell() - inflatedFrom);
  const std::uint64_t left = limits.inflatedBytes - std::min(done, limits.inflatedBytes);
  constexpr std::uint64_t kMost = std::numeric_limits<offile_off_t>::max();
  return std::min(length, static_cast<offile_off_t>(std::min(left, kMost - 1) + 1));
}

void InputStream::checkInflated()
{
  if (inflatedFrom >= 0 && static_cast<std::uint64_t>(tell() - inflatedFrom) > limits.inflatedBytes)
    tooLarge = failure(base::joined("The data set inflates to more than the ", limits.inflatedBytes,
                                    " bytes of TARN_MAX_INFLATED_BYTES"));
}

} // namespace tarn::dicom
