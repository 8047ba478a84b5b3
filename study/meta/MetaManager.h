#pragma once

#include "support/Logger.h"
#include "study/meta/MetaConn.h"
#include "support/Status.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace tarn::utils
{

/// Finds, makes, fills and removes the meta directory of a study: the directory in the meta repository that holds the
/// study's small state files. Results are Status values, messages go to the log of "MetaMgr"; only addAutoFwdDevices
/// and createDefaultStorestate throw.
///
/// Environment, read by the constructor: REPOSITORY_META, REPOSITORY_TEMPMETA, the names of the two repositories;
/// when a legacy directory is looked for: REPOSITORY_DICOM_DATA; for a default store state: TARGETTBL, DEVSERVTBL.
///
/// The legacy layout: the study's directory in the DICOM data repository holds the meta files beside the objects. It
/// counts as one only when it has a store state ("storestate.rec") or an object meta file ("objectdb.meta"); these and
/// the movable files are copied under their own names when they are regular files.
class MetaManager
{
public:
  MetaManager();

  /// `metaDir` gets the study's meta directory. STATUS_OK: it exists, or was filled from the legacy layout just now
  /// (looked for with `checkStoreState` when there is no directory or no store state in it); STATUS_OK_NEW: `create`
  /// made it; STATUS_OK_TEMP: without `create`, `useTemp` found one in the temporary repository; STATUS_MISSING,
  /// STATUS_REPOSITORY_ERROR, and STATUS_ERROR for a missing variable, a directory that cannot be looked at, or a
  /// legacy state that could not be copied.
  [[nodiscard]] Status getMeta(const std::string& study, bool create, bool useTemp, std::string& metaDir,
                               db::DBConnector* db, bool checkStoreState) const;

  /// Moves what was parked in the temporary repository to `metaDir`; what is there already stays and the parked one is
  /// dropped. Whatever fails leaves the rest parked. STATUS_MISSING when nothing was parked.
  Status restoreFromTempMeta(const std::string& study, const std::string& metaDir, const MetaConn& conn) const;
  /// Moves the movable files to the temporary repository. STATUS_MISSING when the study has no meta directory.
  [[nodiscard]] Status saveToTempMeta(const std::string& study, const MetaConn& conn);

  /// Writes a store state for this host; false when the file could not be written. Throws what addAutoFwdDevices does.
  bool createDefaultStorestate(const std::filesystem::path& file, const MetaConn& conn) const;
  /// Writes the line of the devices (types 'P' and 'C') that studies are forwarded to; a list that cannot be read is
  /// logged and empty. Throws IMException when TARGETTBL or DEVSERVTBL is not set.
  void addAutoFwdDevices(std::ofstream& stream, const MetaConn& conn) const;

  /// Renames, or copies across file systems so that `to` shows only when it is complete.
  [[nodiscard]] bool moveFile(const std::filesystem::path& from, const std::filesystem::path& to) const;
  /// Sets the names of the files that are parked and restored.
  void initTempMetaFiles();

  /// Parks the movable files, then removes the meta directory.
  [[nodiscard]] bool deleteMeta(const std::string& study, db::DBConnector* db);
  [[nodiscard]] bool deleteTemp(const std::string& study, db::DBConnector* db) const;

  /// Fills the meta directory (`metaDir`, or a new one when that is empty, whose path it then gets) from the legacy
  /// directory of the study. STATUS_MISSING when there is none. The copy is made beside the meta directory and renamed;
  /// files that a meta directory has already stay, and the store state is the last to appear.
  [[nodiscard]] Status copyLegacy(const std::string& study, std::string& metaDir, const MetaConn& conn) const;
  [[nodiscard]] Status copyLegacy(const std::filesystem::path& legacy, const std::string& study, std::string& metaDir,
                                  const MetaConn& conn) const;

private:
  std::optional<std::string> locate(const std::string& repository, const std::string& study, int& status,
                                    const MetaConn& conn) const;
  std::optional<std::string> createDirectory(const std::string& repository, const std::string& study, int& status,
                                             bool& existed, const MetaConn& conn) const;
  Status findMeta(const std::string& study, bool create, bool useTemp, std::string& metaDir, const MetaConn& conn,
                  bool checkStoreState) const;
  Status createMeta(const std::string& study, std::string& metaDir, const MetaConn& conn) const;
  Status findTemp(const std::string& study, std::string& metaDir, const MetaConn& conn) const;

  std::string metaRepository;
  std::string tempMetaRepository;
  std::set<std::string> tempMetaFiles;
  std::shared_ptr<Logger> logger;
};

} // namespace tarn::utils
