#pragma once

#include "dicom/FileProducer.h"
#include "dicom/ParseGuard.h"
#include "dicom/ReadLimits.h"

#include <dcmtk/dcmdata/dcistrma.h>

#include <memory>

namespace tarn::dicom
{

/// The stream that a file is parsed from. It ends, with a status that says why, where the file would cost more than
/// `limits` or a ParseGuard allow.
class InputStream : public DcmInputStream
{
public:
  InputStream(std::shared_ptr<const InputFile> file, const ReadLimits& limits);

  /// What ended the stream: a refusal, or a failure to read. The parser may not have noticed.
  OFCondition trouble() const;

  OFBool good() const override { return status().good(); }
  OFCondition status() const override { return refused().bad() ? refused() : DcmInputStream::status(); }
  OFBool eos() override { return refused().bad() || DcmInputStream::eos(); }
  offile_off_t avail() override { return refused().bad() ? 0 : DcmInputStream::avail(); }
  offile_off_t read(void* buffer, offile_off_t length) override;
  offile_off_t skip(offile_off_t length) override;
  void mark() override;
  OFCondition installCompressionFilter(E_StreamCompression type) override;
  /// Makes streams for values that are read later; null where the data set is deflated.
  DcmInputStreamFactory* newFactory() const override;

private:
  const OFCondition& refused() const { return tooLarge.bad() ? tooLarge : guard.verdict(); }
  offile_off_t allowed(offile_off_t length) const;
  void checkInflated();

  FileProducer producer;
  const std::uint64_t inflatedBytes; ///< the most that the deflated part may become
  ParseGuard guard;
  offile_off_t inflatedFrom = -1; ///< where the deflated part begins, -1 without one
  OFCondition tooLarge;
};

} // namespace tarn::dicom
