#include "FileReader.h"

#include "ElementText.h"

#include <dcmtk/dcmdata/dcistrmf.h>

#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace tarn::dicom
{
namespace
{

constexpr Uint32 kMaxReadLength = 4096;

/// Stack that reading may use, in bytes: some hundred levels of nesting, an eighth of the usual stack. Copying,
/// writing and destroying what was read recurse as deeply.
constexpr std::uintptr_t kStackBudget = 1U << 20U;

const OFCondition kTooDeep(OFM_dcmdata, 0x7001, OF_error, "Sequences are nested too deeply");

/// The toolkit's parser calls itself for each nested sequence and asks this stream for each element: the distance
/// between the frame that made the stream and the frame that reads from it is the stack that the nesting has used.
class DepthLimitedFileStream : public DcmInputFileStream
{
public:
  explicit DepthLimitedFileStream(const OFFilename& path) : DcmInputFileStream(path), base(here()) {}

  OFBool good() const override { return !tooDeep && DcmInputFileStream::good(); }
  OFCondition status() const override { return tooDeep ? kTooDeep : DcmInputFileStream::status(); }
  OFBool eos() override { return tooDeep || DcmInputFileStream::eos(); }
  offile_off_t avail() override { return tooDeep ? 0 : DcmInputFileStream::avail(); }
  bool refused() const { return tooDeep; }
  offile_off_t read(void* buffer, offile_off_t length) override
  {
    if (const std::uintptr_t now = here(); now < base && base - now > kStackBudget)
      tooDeep = true;
    return tooDeep ? 0 : DcmInputFileStream::read(buffer, length);
  }

private:
  // Not the address of a local variable: that may lie on a heap of the address sanitizer.
  static std::uintptr_t here() { return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)); }

  std::uintptr_t base;
  bool tooDeep = false;
};

OFCondition checkRegular(const std::string& path)
{
  struct stat status
  {
  };
  if (stat(path.c_str(), &status) != 0)
    return failure(std::strerror(errno));
  return S_ISREG(status.st_mode) ? EC_Normal : failure("Not a regular file");
}

} // namespace

OFCondition loadFile(DcmFileFormat& file, const std::string& path)
{
  OFCondition status = checkRegular(path);
  if (status.bad())
    return status;
  DepthLimitedFileStream stream(OFFilename(path.c_str(), OFTrue));
  status = stream.status();
  if (status.bad())
    return status;
  status = file.clear();
  if (status.bad())
    return status;
  file.transferInit();
  status = file.read(stream, EXS_Unknown, EGL_noChange, kMaxReadLength);
  file.transferEnd();
  return stream.refused() ? kTooDeep : status;
}

} // namespace tarn::dicom
