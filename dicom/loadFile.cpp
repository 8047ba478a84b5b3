#include "dicom/loadFile.h"

#include "dicom/InputStream.h"

#include <memory>

namespace tarn::dicom
{
namespace
{

constexpr Uint32 kMaxReadLength = 4096;

}

OFCondition loadFile(DcmFileFormat& file, const std::string& path)
{
  return loadFile(file, path, ReadLimits::fromEnvironment());
}

OFCondition loadFile(DcmFileFormat& file, const std::string& path, const ReadLimits& limits)
{
  const auto source = std::make_shared<const InputFile>(path);
  OFCondition status = source->status();
  if (status.good())
    status = file.clear();
  if (status.bad())
    return status;
  InputStream stream(source, limits, *file.getDataset());
  file.transferInit();
  status = file.read(stream, EXS_Unknown, EGL_noChange, kMaxReadLength);
  file.transferEnd();
  const OFCondition trouble = stream.trouble();
  return trouble.bad() ? trouble : status;
}

} // namespace tarn::dicom
