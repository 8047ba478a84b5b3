// Outputs on their way from a conversion to a working folder.
#include "archive/run/OutputWriter.h"

#include "archive/inputs/shard.h"
#include "archive/journal/sha256.h"
#include "base/Fd.h"
#include "base/files.h"
#include "base/text.h"
#include "dicom/saveFile.h"
#include "dicom/values.h"
#include "pstate/ElementWriter.h"
#include "pstate/ValidPresentationState.h"

#include <cerrno>

#include <fcntl.h>

namespace tarn::archive
{
namespace
{

constexpr mode_t kMode = 0640;

/// A value as it stands in the object, without the blanks at its ends; empty where there is none.
std::string textIn(DcmItem& item, const DcmTagKey& tag)
{
  std::string text;
  static_cast<void>(dicom::readText(item, tag, text));
  return text;
}

/// What the object says of its image (PS3.3 C.11.11).
void describeImage(DcmDataset& dataset, Output& output)
{
  DcmItem* series = nullptr;
  DcmItem* image = nullptr;
  if (dataset.findAndGetSequenceItem(DCM_ReferencedSeriesSequence, series).bad() ||
      series->findAndGetSequenceItem(DCM_ReferencedImageSequence, image).bad())
    return;
  output.image = textIn(*image, DCM_ReferencedSOPInstanceUID);
  output.imageClass = textIn(*image, DCM_ReferencedSOPClassUID);
  output.frame = textIn(*image, DCM_ReferencedFrameNumber);
}

} // namespace

void OutputWriter::begin(const std::string& studyUid)
{
  studyFolder = folderOfStudy(studyUid);
  takenCount = 0;
  refusedCount = 0;
  applied.clear();
}

/// The message is that of a presentation state that cannot be saved.
bool OutputWriter::take(impsconverter::ValidPresentationState& state, const impsconverter::OutputContext& context,
                        impsconverter::OutputRefusal& refusal)
{
  const std::string& name = state.outputName();
  const std::unique_ptr<DcmFileFormat> file = state.releaseFile();
  if (form)
    form->apply(*file->getDataset(), context.image, applied, refusal);
  if (!refusal.code.empty())
  {
    ++refusedCount;
    return true;
  }
  bytes.clear();
  const auto append = [this](const char* block, std::size_t length)
  {
    bytes.append(block, length);
    return true;
  };
  const bool isWhole =
      impsconverter::isGood(dicom::encode(*file, append), "Presentation State file " + name + " could not be saved: ");
  if (!isWhole)
    return false;
  write();
  Output output;
  output.file = studyFolder + "/" + name;
  output.instance = textIn(*file->getDataset(), DCM_SOPInstanceUID);
  describeImage(*file->getDataset(), output);
  output.bytes = bytes.size();
  output.sha256 = sha256Hex(bytes);
  output.annotations = context.lines;
  ++takenCount;
  finished(number++, output);
  return true;
}

/// The folder is the run's own, and what keeps one file from it keeps the others too.
void OutputWriter::write() const
{
  if (folder.empty())
    return;
  const std::string path = folder + "/" + std::to_string(number);
  base::Fd fd(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, kMode));
  if (fd && base::writeAll(fd, bytes) && fd.close())
    return;
  const int error = errno;
  throw StoreError(base::joined(path, " cannot be written: ", base::FileError(error).what()), error);
}

} // namespace tarn::archive
