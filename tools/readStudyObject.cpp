// Reads of a DICOM object what the archive keeps of it.
#include "tools/readStudyObject.h"

#include "base/files.h"
#include "base/text.h"
#include "dicom/loadFile.h"
#include "dicom/uid.h"
#include "dicom/values.h"

#include <dcmtk/dcmdata/dcuid.h>

#include <cerrno>
#include <charconv>

namespace tarn::tools
{
namespace
{

constexpr std::size_t kMaxPrefixLength = 16; // of a code string (PS3.5 6.2)
constexpr char kDigits[] = "0123456789";
constexpr char kCapitals[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr char kSmallLetters[] = "abcdefghijklmnopqrstuvwxyz";
constexpr char kPresentationStates[] = "1.2.840.10008.5.1.4.1.1.11."; // the classes' common root (PS3.4 B.5)

/// Whether the bytes that a file begins with are those of a DICOM file: the prefix after the preamble (PS3.10 7.1) or,
/// where both are missing, an element of group 2 or 8 in either byte order.
bool beginsLikeDicom(const std::string& start)
{
  constexpr std::size_t kPreamble = 128;
  if (start.size() >= kPreamble + 4 && start.compare(kPreamble, 4, "DICM") == 0)
    return true;
  if (start.size() < 2)
    return false;
  const auto isGroup = [](char byte) { return byte == 2 || byte == 8; };
  return (isGroup(start[0]) && start[1] == 0) || (start[0] == 0 && isGroup(start[1]));
}

/// The first bytes of the file, as many as beginsLikeDicom() looks at.
std::string startOf(const std::string& path)
{
  const base::RegularFile file(path);
  std::string start(132, '\0');
  const std::ptrdiff_t length = base::readUpTo(file.fd, start.data(), start.size());
  if (length < 0)
    throw base::FileError(errno);
  start.resize(static_cast<std::size_t>(length));
  return start;
}

void requireDicom(const std::string& path)
{
  try
  {
    if (!beginsLikeDicom(startOf(path)))
      throw NoObject("no DICOM file");
  }
  catch (const base::FileError& failure)
  {
    throw UnusableObject(failure.what());
  }
}

bool isDirectoryOfMedia(DcmFileFormat& file)
{
  OFString sopClass;
  return file.getMetaInfo()->findAndGetOFString(DCM_MediaStorageSOPClassUID, sopClass).good() &&
         sopClass == UID_MediaStorageDirectoryStorage;
}

std::string uidOf(DcmItem& dataset, const DcmTagKey& key)
{
  std::string uid;
  const OFCondition status = dicom::readUid(dataset, key, uid);
  if (status.bad())
    throw UnusableObject(std::string(DcmTag(key).getTagName()) + ": " + status.text());
  if (!dicom::isUid(uid))
    throw UnusableObject(std::string(DcmTag(key).getTagName()) + " is no UID");
  return uid;
}

std::optional<int> sizeOf(DcmItem& dataset, const DcmTagKey& key)
{
  Uint16 size = 0;
  return dataset.findAndGetUint16(key, size).good() ? std::optional<int>(size) : std::nullopt;
}

std::optional<int> framesOf(DcmItem& dataset)
{
  std::string text;
  if (dicom::readText(dataset, DCM_NumberOfFrames, text).bad())
    return std::nullopt;
  text = base::trimmed(text);
  int frames = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, frames);
  return error == std::errc() && stop == end && frames >= 0 ? std::optional<int>(frames) : std::nullopt;
}

bool isPrefix(const std::string& text, const std::string& characters)
{
  return !text.empty() && text.size() <= kMaxPrefixLength && text.find_first_not_of(characters) == std::string::npos;
}

/// The prefix of `name` when the rest of it is a point and `uid`.
std::optional<std::string> prefixOfName(const std::string& name, const std::string& uid)
{
  const std::size_t point = name.find('.');
  const std::string prefix = name.substr(0, point);
  const std::string letters = std::string(kDigits) + kCapitals + kSmallLetters;
  return name == prefix + "." + uid && isPrefix(prefix, letters) ? std::optional<std::string>(prefix) : std::nullopt;
}

std::string modalityOf(DcmItem& dataset, const std::string& sopClassUid)
{
  if (base::startsWith(sopClassUid, kPresentationStates))
    return "PR";
  std::string modality;
  if (dicom::readText(dataset, DCM_Modality, modality).good())
    modality = base::trimmed(modality);
  if (isPrefix(modality, std::string(kDigits) + kCapitals))
    return modality;
  return dcmSOPClassUIDToModality(sopClassUid.c_str(), "OT");
}

} // namespace

study::StudyObject readStudyObject(const std::string& path)
{
  requireDicom(path);
  DcmFileFormat file;
  if (const OFCondition status = dicom::loadFile(file, path, dicom::LongValues::inFile); status.bad())
    throw UnusableObject(status.text());
  if (isDirectoryOfMedia(file))
    throw NoObject("a DICOMDIR");

  DcmDataset& dataset = *file.getDataset();
  study::StudyObject object;
  object.studyUid = uidOf(dataset, DCM_StudyInstanceUID);
  object.sopClassUid = uidOf(dataset, DCM_SOPClassUID);
  object.sopInstanceUid = uidOf(dataset, DCM_SOPInstanceUID);
  object.seriesUid = uidOf(dataset, DCM_SeriesInstanceUID);
  object.columns = sizeOf(dataset, DCM_Columns);
  object.rows = sizeOf(dataset, DCM_Rows);
  object.frames = framesOf(dataset);
  const auto ownPrefix = prefixOfName(base::baseName(path), object.sopInstanceUid);
  object.name = (ownPrefix ? *ownPrefix : modalityOf(dataset, object.sopClassUid)) + "." + object.sopInstanceUid;
  return object;
}

} // namespace tarn::tools
