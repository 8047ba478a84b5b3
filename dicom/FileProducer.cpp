// Files as the toolkit's parser takes them in: from memory, or in blocks.
#include "dicom/FileProducer.h"

#include "dicom/failure.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tarn::dicom
{
namespace
{

constexpr offile_off_t kBlock = 65536;

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

} // namespace

FileProducer::FileProducer(std::shared_ptr<const InputFile> file, offile_off_t offset)
  : file(std::move(file)), position(offset), block(this->file->bytes)
{
}

offile_off_t FileProducer::read(void* buffer, offile_off_t length)
{
  auto* to = static_cast<char*>(buffer);
  const offile_off_t wanted = std::min(length, avail());
  offile_off_t left = wanted;
  while (left > 0 && fill())
  {
    const std::string_view next = block.substr(static_cast<std::size_t>(position - blockStart));
    const offile_off_t part = std::min(left, static_cast<offile_off_t>(next.size()));
    std::memcpy(to, next.data(), static_cast<std::size_t>(part));
    to += part;
    position += part;
    left -= part;
  }
  return wanted - left;
}

/// Returns whether the block holds the next byte, after reading it where it does not yet.
bool FileProducer::fill()
{
  if (position >= blockStart && position < blockStart + static_cast<offile_off_t>(block.size()))
    return true;
  ahead.resize(static_cast<std::size_t>(std::min(kBlock, avail())));
  try
  {
    file->read(static_cast<std::uint64_t>(position), ahead.data(), ahead.size());
  }
  catch (const base::FileError& error)
  {
    condition = failure(error.what());
  }
  block = ahead;
  blockStart = position;
  return condition.good();
}

offile_off_t FileProducer::skip(offile_off_t length)
{
  const offile_off_t skipped = std::min(length, avail());
  position += skipped;
  return skipped;
}

ValueFactory::ValueFactory(std::shared_ptr<const InputFile> file, offile_off_t offset)
  : file(std::move(file)), offset(offset)
{
}

DcmInputStream* ValueFactory::create() const
{
  return new ValueStream(file, offset);
}

} // namespace tarn::dicom
