// The files of images, for what the object table does not know of them.
#include "images/ImageFiles.h"

#include "base/environmentValue.h"
#include "dicom/loadFile.h"
#include "dicom/uid.h"
#include "dicom/values.h"
#include "repository/client/IMRepositoryHandlerIface.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

namespace tarn::images
{
namespace
{

namespace fs = std::filesystem;

constexpr std::size_t kMostRemembered = 4096;
constexpr std::size_t kMostNames = 65536; ///< before a study's folder is listed

/// The header of the image under one of the names that it may have in `folder`.
std::optional<ImageHeader> headerIn(const std::string& folder, const std::string& objectName, const std::string& uid)
{
  for (const std::string& name : {objectName, uid, uid + ".dcm"})
    if (std::optional<ImageHeader> header = readImageHeader(fs::path(folder) / name);
        header && header->sopInstanceUid == uid)
      return header;
  return std::nullopt;
}

} // namespace

std::optional<ImageHeader> readImageHeader(const std::string& path)
{
  std::error_code ignored;
  if (!fs::is_regular_file(path, ignored))
    return std::nullopt;
  DcmFileFormat file;
  ImageHeader header;
  header.path = path;
  if (dicom::loadFile(file, path, dicom::LongValues::inFile).bad() ||
      dicom::readUid(*file.getDataset(), DCM_SOPInstanceUID, header.sopInstanceUid).bad())
    return std::nullopt;
  static_cast<void>(dicom::readUid(*file.getDataset(), DCM_SeriesInstanceUID, header.seriesInstanceUid));
  Uint16 columns = 0;
  Uint16 rows = 0;
  Sint32 frames = 1;
  if (file.getDataset()->findAndGetUint16(DCM_Columns, columns).good())
    header.columns = columns;
  if (file.getDataset()->findAndGetUint16(DCM_Rows, rows).good())
    header.rows = rows;
  if (file.getDataset()->findAndGetSint32(DCM_NumberOfFrames, frames).good() && frames > 0)
    header.frames = static_cast<std::uint32_t>(frames);
  header.spacings = readPixelSpacings(*file.getDataset());
  return header;
}

ImageFiles::ImageFiles(db::DBConnector& db, std::string folder)
  : db(db), repository(base::environmentValue("REPOSITORY_DICOM_DATA")), folder(std::move(folder))
{
}

const std::optional<ImageHeader>& ImageFiles::find(const std::string& studyUid, const std::string& objectName,
                                                   const std::string& sopInstanceUid)
{
  if (const auto known = headers.find(sopInstanceUid); known != headers.end())
    return known->second;
  if (headers.size() == kMostRemembered)
    headers.clear();
  return headers.emplace(sopInstanceUid, search(studyUid, objectName, sopInstanceUid)).first->second;
}

std::optional<ImageHeader> ImageFiles::search(const std::string& studyUid, const std::string& objectName,
                                              const std::string& sopInstanceUid)
{
  if (objectName.find('/') != std::string::npos || sopInstanceUid.find('/') != std::string::npos)
    return std::nullopt;                        // no name of a file
  const bool hasStudy = dicom::isUid(studyUid); // other texts could name any folder
  if (const std::string study = hasStudy ? studyFolder(studyUid) : ""; !study.empty())
  {
    const std::string& name = objectName.empty() ? nameIn(study, sopInstanceUid) : objectName;
    if (std::optional<ImageHeader> header = headerIn(study, name, sopInstanceUid))
      return header;
  }
  if (folder.empty())
    return std::nullopt;
  for (const std::string& place : {folder, hasStudy ? folder + "/" + studyUid : folder})
    if (std::optional<ImageHeader> header = headerIn(place, objectName, sopInstanceUid))
      return header;
  indexFolder();
  const auto file = filesByUid->find(sopInstanceUid);
  return file == filesByUid->end() ? std::nullopt : readImageHeader(file->second);
}

std::string ImageFiles::studyFolder(const std::string& studyUid)
{
  if (repository.empty())
    return {};
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> found(
      repository::IMRepositoryHandlerIface::getLocation(repository.c_str(), studyUid.c_str(), &status, true, true, true,
                                                        &db),
      &std::free);
  return found ? found.get() : "";
}

const std::string& ImageFiles::nameIn(const std::string& studyFolder, const std::string& sopInstanceUid)
{
  if (listed.count(studyFolder) == 0)
  {
    if (names.size() + listed.size() >= kMostNames)
    {
      names.clear();
      listed.clear();
    }
    listed.insert(studyFolder);
    std::error_code ignored; // what cannot be listed is not found
    for (fs::directory_iterator entry(studyFolder, ignored); !ignored && entry != fs::directory_iterator();
         entry.increment(ignored))
    {
      const std::string name = entry->path().filename();
      names[studyFolder + "/" + name.substr(name.find('.') + 1)] = name;
    }
  }
  static const std::string kNone;
  const auto name = names.find(studyFolder + "/" + sopInstanceUid);
  return name == names.end() ? kNone : name->second;
}

void ImageFiles::indexFolder()
{
  if (filesByUid)
    return;
  filesByUid.emplace();
  std::error_code ignored; // what cannot be read is not found
  for (fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied, ignored);
       !ignored && entry != fs::recursive_directory_iterator(); entry.increment(ignored))
    if (const std::optional<ImageHeader> header = readImageHeader(entry->path()))
      filesByUid->emplace(header->sopInstanceUid, entry->path());
}

} // namespace tarn::images
