// Loading: the toolkit's parser behind checked reads and limits.
#include "dicom/loadFile.h"

#include "base/text.h"
#include "dicom/dictionary.h"
#include "dicom/InputStream.h"
#include "dicom/failure.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

namespace tarn::dicom
{
namespace
{

/// Bytes of a value that the parser copies at once. Longer ones it passes over, finding out whether they are there; a
/// dump shows them as not loaded.
constexpr Uint32 kMaxReadLength = 4096;

/// Bytes of a file that are read at once where long values stay in it: usually all that stands before the pixels.
constexpr std::uint64_t kReadAhead = 65536;

/// The transfer syntax that file meta information says, which is itself always explicit VR little endian (PS3.10 7.1).
DcmXfer transferSyntaxOf(std::string_view bytes)
{
  constexpr std::size_t kPreamble = 128;
  constexpr std::string_view kPrefix = "DICM", kElement("\x02\0\x10\0UI", 6);
  const std::size_t place = bytes.find(kElement);
  if (bytes.size() < kPreamble || bytes.compare(kPreamble, kPrefix.size(), kPrefix) != 0 ||
      place == std::string_view::npos || bytes.size() - place < kElement.size() + 2)
    return EXS_Unknown;
  const std::string_view value = bytes.substr(place + kElement.size());
  const auto length = static_cast<std::size_t>(static_cast<Uint8>(value[0]) | static_cast<Uint8>(value[1]) << 8U);
  const std::string uid(value.substr(2, length));
  return DcmXfer(uid.c_str());
}

/// Whether the toolkit asks its dictionary for VRs when it parses a file: for a data set that is implicit VR or may be,
/// and for the items of a sequence of unknown VR, which has no defined length (PS3.5 6.2.2). One that is deflated may
/// hold such a sequence.
bool needsDictionary(std::string_view bytes)
{
  constexpr std::string_view kUndefinedLength = "\xFF\xFF\xFF\xFF";
  constexpr std::size_t kHeader = 4; // VR and two reserved bytes (PS3.5 7.1.2)
  const DcmXfer syntax = transferSyntaxOf(bytes);
  if (!syntax.isExplicitVR() || syntax.getStreamCompression() != ESC_none)
    return true;
  std::size_t place = bytes.find(kUndefinedLength, kHeader);
  while (place != std::string_view::npos && bytes.compare(place - kHeader, 2, "UN") != 0)
    place = bytes.find(kUndefinedLength, place + 1);
  return place != std::string_view::npos;
}

OFCondition parse(DcmFileFormat& file, std::shared_ptr<const InputFile> source, const ReadLimits& limits)
{
  OFCondition status = file.clear();
  if (status.bad())
    return status;
  InputStream stream(std::move(source), limits);
  file.transferInit();
  status = file.read(stream, EXS_Unknown, EGL_noChange, kMaxReadLength);
  file.transferEnd();
  const OFCondition trouble = stream.trouble();
  return trouble.bad() ? trouble : status;
}

} // namespace

OFCondition loadFile(DcmFileFormat& file, const std::string& path, LongValues longValues, struct stat* status)
{
  const ReadLimits limits = ReadLimits::fromEnvironment();
  try
  {
    const auto source = std::make_shared<InputFile>(path);
    if (status)
      *status = source->withoutList();
    const bool isWhole = longValues == LongValues::inMemory;
    if (isWhole && source->size > limits.fileBytes)
      return failure(
          base::joined("The file has ", source->size, " bytes, and TARN_MAX_FILE_BYTES allows ", limits.fileBytes));
    source->start.resize(isWhole ? source->size : std::min(source->size, kReadAhead));
    source->read(0, source->start.data(), source->start.size());
    if (!isWhole || needsDictionary(source->start))
      completeDictionary();
    return parse(file, source, limits);
  }
  catch (const base::FileError& error)
  {
    return failure(error.what());
  }
}

} // namespace tarn::dicom
