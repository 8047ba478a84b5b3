#pragma once

#include "base/files.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcistrma.h>

#include <memory>
#include <string>
#include <utility>

namespace tarn::dicom
{

/// A file that is parsed, for as long as a value may have to be read from it.
struct InputFile : base::RegularFile
{
  using RegularFile::RegularFile;

  /// Reads the `length` bytes at `offset`, which lie in the file. Throws base::FileError.
  void copy(std::uint64_t offset, char* buffer, std::size_t length) const;

  std::string start; ///< the first bytes of the file, or all: they are not read again
};

/// Gives the toolkit's parser the bytes of a file from `offset` on. A failure to read ends it with a status that says
/// why.
class FileProducer : public DcmProducer
{
public:
  FileProducer(std::shared_ptr<const InputFile> file, offile_off_t offset) : file(std::move(file)), position(offset) {}

  OFBool good() const override { return condition.good(); }
  OFCondition status() const override { return condition; }
  OFBool eos() override { return avail() == 0; }
  offile_off_t avail() override { return static_cast<offile_off_t>(file->size) - position; }
  offile_off_t read(void* buffer, offile_off_t length) override;
  offile_off_t skip(offile_off_t length) override;
  void putback(offile_off_t length) override { position -= length; }

  const std::shared_ptr<const InputFile>& source() const { return file; }

private:
  std::shared_ptr<const InputFile> file;
  offile_off_t position;
  OFCondition condition;
};

} // namespace tarn::dicom
