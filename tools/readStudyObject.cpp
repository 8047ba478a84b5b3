// Reads of a DICOM object what the archive keeps of it.
#include "tools/readStudyObject.h"

#include "base/files.h"
#include "base/text.h"
#include "dicom/loadFile.h"
#include "dicom/uid.h"
#include "dicom/values.h"

#include <dcmtk/dcmdata/dcuid.h>

#include <algorithm>
#include <charconv>

namespace tarn::tools
{
namespace
{

using imutils::IMException;

constexpr std::size_t kMaxPrefixLength = 16; // of a code string (PS3.5 6.2)
constexpr char kCapitals[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr char kLetters[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr char kPresentationStates[] = "1.2.840.10008.5.1.4.1.1.11."; // the classes' common root (PS3.4 B.5)

/// Whether the file begins as a DICOM file: with the prefix after the preamble (PS3.10 7.1) or, where both are missing,
/// with an element of group 2 or 8 in either byte order.
bool beginsLikeDicom(const base::RegularFile& file)
{
  constexpr std::size_t kPreamble = 128;
  std::string start(std::min<std::uint64_t>(file.size, kPreamble + 4), '\0');
  file.read(0, start.data(), start.size());
  if (start.size() > kPreamble && start.compare(kPreamble, 4, "DICM") == 0)
    return true;
  if (start.size() < 2)
    return false;
  const auto isGroup = [](char byte) { return byte == 2 || byte == 8; };
  return (isGroup(start[0]) && start[1] == 0) || (start[0] == 0 && isGroup(start[1]));
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
    throw IMException(std::string(DcmTag(key).getTagName()) + ": " + status.text());
  if (!dicom::isUid(uid))
    throw IMException(std::string(DcmTag(key).getTagName()) + " is no UID");
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
  return name == prefix + "." + uid && isPrefix(prefix, kLetters) ? std::optional<std::string>(prefix) : std::nullopt;
}

std::string modalityOf(DcmItem& dataset, const std::string& sopClassUid)
{
  if (base::startsWith(sopClassUid, kPresentationStates))
    return "PR";
  std::string modality;
  if (dicom::readText(dataset, DCM_Modality, modality).good())
    modality = base::trimmed(modality);
  if (isPrefix(modality, kCapitals))
    return modality;
  return dcmSOPClassUIDToModality(sopClassUid.c_str(), "OT");
}

} // namespace

study::StudyObject readStudyObject(const std::string& path)
{
  if (!beginsLikeDicom(base::RegularFile(path)))
    throw NoObject("no DICOM file");
  DcmFileFormat file;
  if (const OFCondition status = dicom::loadFile(file, path, dicom::LongValues::inFile); status.bad())
    throw IMException(status.text());
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
