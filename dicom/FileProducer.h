#pragma once

#include "base/files.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcistrma.h>

#include <memory>
#include <string>
#include <string_view>

namespace tarn::dicom
{

/// A file that is parsed, for as long as a value may have to be read from it.
struct InputFile : base::RegularFile
{
  using RegularFile::RegularFile;

  std::string bytes; ///< the whole file; empty where it is to be read in parts, as they are asked for
};

/// Gives the toolkit's parser the bytes of a file from `offset` on. A failure to read ends it with a status that says
/// why.
class FileProducer : public DcmProducer
{
public:
  FileProducer(std::shared_ptr<const InputFile> file, offile_off_t offset);

  OFBool good() const override { return condition.good(); }
  OFCondition status() const override { return condition; }
  OFBool eos() override { return avail() == 0; }
  offile_off_t avail() override { return static_cast<offile_off_t>(file->size) - position; }
  offile_off_t read(void* buffer, offile_off_t length) override;
  offile_off_t skip(offile_off_t length) override;
  void putback(offile_off_t length) override { position -= length; }

  const std::shared_ptr<const InputFile>& source() const { return file; }

private:
  bool fill();

  std::shared_ptr<const InputFile> file;
  offile_off_t position;
  std::string ahead;           ///< what was read ahead from a file that is read in parts
  std::string_view block;      ///< the bytes at hand
  offile_off_t blockStart = 0; ///< their place in the file
  OFCondition condition;
};

/// Makes the streams by which the toolkit reads values that it passed over.
class ValueFactory : public DcmInputStreamFactory
{
public:
  ValueFactory(std::shared_ptr<const InputFile> file, offile_off_t offset);

  DcmInputStream* create() const override;
  DcmInputStreamFactory* clone() const override { return new ValueFactory(file, offset); }
  DcmInputStreamFactoryType ident() const override { return DFT_DcmInputFileStreamFactory; }

private:
  std::shared_ptr<const InputFile> file;
  offile_off_t offset;
};

} // namespace tarn::dicom
