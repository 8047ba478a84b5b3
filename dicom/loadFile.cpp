// Loading: the toolkit's parser behind checked reads and limits.
#include "dicom/loadFile.h"

#include "base/text.h"
#include "dicom/InputStream.h"
#include "dicom/values.h"

#include <memory>
#include <utility>

namespace tarn::dicom
{
namespace
{

/// Bytes of a value that the parser loads at once; it passes over longer ones, and finds out whether they are there.
constexpr Uint32 kMaxReadLength = 4096;

OFCondition parse(DcmFileFormat& file, std::shared_ptr<const InputFile> source, const ReadLimits& limits)
{
  OFCondition status = file.clear();
  if (status.bad())
    return status;
  InputStream stream(std::move(source), limits, *file.getDataset());
  file.transferInit();
  status = file.read(stream, EXS_Unknown, EGL_noChange, kMaxReadLength);
  file.transferEnd();
  const OFCondition trouble = stream.trouble();
  return trouble.bad() ? trouble : status;
}

} // namespace

OFCondition loadFile(DcmFileFormat& file, const std::string& path)
{
  const ReadLimits limits = ReadLimits::fromEnvironment();
  try
  {
    const auto source = std::make_shared<InputFile>(path);
    if (source->size > limits.fileBytes)
      return failure(
          base::joined("The file has ", source->size, " bytes, and TARN_MAX_FILE_BYTES allows ", limits.fileBytes));
    source->bytes = source->content();
    const OFCondition status = parse(file, source, limits);
    return status.good() ? file.loadAllDataIntoMemory() : status;
  }
  catch (const base::FileError& error)
  {
    return failure(error.what());
  }
}

OFCondition loadLazily(DcmFileFormat& file, const std::string& path)
{
  const ReadLimits limits = ReadLimits::fromEnvironment();
  try
  {
    return parse(file, std::make_shared<InputFile>(path), limits);
  }
  catch (const base::FileError& error)
  {
    return failure(error.what());
  }
}

} // namespace tarn::dicom
