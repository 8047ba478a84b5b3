#pragma once

#include "db/DBConnector.h"
#include "images/PixelSpacing.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>

namespace tarn::images
{

/// What an image's own header says of it and its size (PS3.3 C.7.6.3 and C.7.6.6).
struct ImageHeader
{
  std::string path; ///< of the file
  std::string sopInstanceUid;
  std::string seriesInstanceUid; ///< empty where it does not say
  std::uint32_t columns = 0;     ///< pixels; 0 where it does not say
  std::uint32_t rows = 0;
  std::uint32_t frames = 1;
  PixelSpacings spacings;
};

/// Reads the header of an image's file, whatever its size; nothing where the file is no DICOM object.
std::optional<ImageHeader> readImageHeader(const std::string& path);

/// The files of images: in the study's folder of the data repository, then in a folder of their own. A file is known by
/// its name, `CT.UID`, `UID` or `UID.dcm`; in the other folder and below it also by the UID inside, for which each of
/// its files is read once.
class ImageFiles
{
public:
  /// `folder` may be empty, and so may REPOSITORY_DICOM_DATA, which names the data repository. Borrows `db`.
  ImageFiles(db::DBConnector& db, std::string folder);

  /// The header of the image that is called `objectName` ("CT.1.2.3") in its study; nothing where no file has it. It is
  /// read once, as long as less than 4,096 others have been asked for. With an empty `objectName` any prefix before the
  /// UID will do: a study's folder is listed once for that.
  const std::optional<ImageHeader>& find(const std::string& studyUid, const std::string& objectName,
                                         const std::string& sopInstanceUid);

private:
  std::optional<ImageHeader> search(const std::string& studyUid, const std::string& objectName,
                                    const std::string& sopInstanceUid);
  std::string studyFolder(const std::string& studyUid);
  const std::string& nameIn(const std::string& studyFolder, const std::string& sopInstanceUid);
  void indexFolder();

  db::DBConnector& db;
  std::string repository;
  std::string folder;
  std::optional<std::map<std::string, std::string>> filesByUid; ///< of `folder`, once it was needed
  std::unordered_map<std::string, std::optional<ImageHeader>> headers;
  std::unordered_map<std::string, std::string> names; ///< UID and a point after a prefix, by folder, slash and UID
  std::set<std::string> listed;                       ///< folders whose names these are
};

} // namespace tarn::images
