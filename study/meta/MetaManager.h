#pragma once

#include "db/DBConnector.h"
#include "support/Logger.h"
#include "support/Status.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace tarn::utils
{

/// The database connection during one operation, borrowed; null where there is none.
class MetaConn
{
public:
  explicit MetaConn(db::DBConnector* db) : db(db) {}

  db::DBConnector* connector() const { return db; }

private:
  db::DBConnector* db;
};

/// Finds, makes, fills and removes the meta directory of a study: the directory in the meta repository that holds the
/// study's small state files. Operations report through their results and the log of "MetaMgr"; only addAutoFwdDevices
/// and its caller createDefaultStorestate throw. A directory that may not be looked into is STATUS_ERROR.
///
/// The constructor reads the environment variables REPOSITORY_META and REPOSITORY_TEMPMETA, the names of the two
/// repositories. REPOSITORY_DICOM_DATA is read when a legacy directory is looked for, TARGETTBL and DEVSERVTBL when a
/// default store state is made.
///
/// The legacy layout: the study's directory in the DICOM data repository holds the meta files beside the objects. It
/// counts as one only when it has a store state or an object meta file; these and the movable files are copied under
/// their own names when they are regular files.
class MetaManager
{
public:
  MetaManager();

  /// Sets `metaDir` to the study's meta directory. Returns STATUS_OK when the directory exists or was filled from the
  /// legacy layout, which is looked for when `checkStoreState` is set and the directory or its store state is missing;
  /// STATUS_OK_NEW when `create` made it; STATUS_OK_TEMP when `create` is not set and `useTemp` found a directory in
  /// the temporary repository. Failures are STATUS_MISSING, STATUS_REPOSITORY_ERROR and, for a missing variable or a
  /// legacy state that could not be copied, STATUS_ERROR. A directory that exists is used as it is when the data
  /// repository is unreachable.
  [[nodiscard]] Status getMeta(const std::string& studyUid, bool create, bool useTemp, std::string& metaDir,
                               db::DBConnector* db, bool checkStoreState) const;

  /// Moves what was parked in the temporary repository to `metaDir`. A file that exists there stays, and the parked one
  /// is dropped. Whatever fails leaves the rest parked. Returns STATUS_MISSING when nothing was parked.
  Status restoreFromTempMeta(const std::string& studyUid, const std::string& metaDir, const MetaConn& conn) const;
  /// Moves the movable files to the temporary repository. Returns STATUS_MISSING when the study has no meta directory.
  [[nodiscard]] Status saveToTempMeta(const std::string& studyUid, const MetaConn& conn);

  /// Writes a store state for this host. Returns false when the file could not be written, or, with the file as it was,
  /// when this host's record cannot be read. Throws what addAutoFwdDevices throws, with the file as it was.
  bool createDefaultStorestate(const std::filesystem::path& file, const MetaConn& conn) const;
  /// Writes the line of the devices (types 'P' and 'C') that studies are forwarded to; a list that cannot be read is
  /// logged and empty. Throws IMException when TARGETTBL or DEVSERVTBL is not set.
  void addAutoFwdDevices(std::ofstream& stream, const MetaConn& conn) const;

  /// Renames, or copies across file systems so that `to` appears only when it is complete, and `from` goes
  /// only when that is on the disk.
  [[nodiscard]] bool moveFile(const std::filesystem::path& from, const std::filesystem::path& to) const;
  /// Sets the names of the files that are parked and restored.
  void initTempMetaFiles();

  /// Parks the movable files, then removes the meta directory. Removes nothing when a file could not be parked.
  [[nodiscard]] bool deleteMeta(const std::string& studyUid, db::DBConnector* db);
  [[nodiscard]] bool deleteTemp(const std::string& studyUid, db::DBConnector* db) const;

  /// Fills the meta directory from the legacy directory of the study. An empty `metaDir` is set to the path of a new
  /// meta directory. The copy is made beside the meta directory and renamed; files that a meta directory has already
  /// stay, and the store state appears last. Returns STATUS_MISSING when there is no legacy directory; for a given
  /// `metaDir`, an unreachable data repository has none.
  [[nodiscard]] Status copyLegacy(const std::string& studyUid, std::string& metaDir, const MetaConn& conn) const;
  [[nodiscard]] Status copyLegacy(const std::filesystem::path& legacy, const std::string& studyUid,
                                  std::string& metaDir, const MetaConn& conn) const;

private:
  std::optional<std::string> locate(const std::string& repository, const std::string& studyUid, int& status,
                                    const MetaConn& conn) const;
  std::optional<std::string> createDirectory(const std::string& repository, const std::string& studyUid, int& status,
                                             int& existed, const MetaConn& conn) const;
  /// Whether a repository has a name; logs `message` where it has none.
  bool isSet(const std::string& repository, const char* message) const;
  /// Logs that the system did not tell what `operation` was looking for.
  Status unreachable(const char* operation, const char* what, const std::string& studyUid, int status) const;
  Status findMeta(const std::string& studyUid, bool create, bool useTemp, std::string& metaDir, const MetaConn& conn,
                  bool checkStoreState) const;
  Status createMeta(const std::string& studyUid, std::string& metaDir, const MetaConn& conn) const;
  Status takeOver(const std::string& studyUid, std::string& metaDir, const MetaConn& conn) const;
  Status park(const std::string& studyUid, const MetaConn& conn) const;
  /// Whether the resource was there and is gone; logs why not.
  bool remove(const char* operation, const std::string& repository, const std::string& studyUid,
              const MetaConn& conn) const;
  Status findTemp(const std::string& studyUid, std::string& metaDir, const MetaConn& conn) const;

  std::string metaRepository;
  std::string tempMetaRepository;
  std::set<std::string> tempMetaFiles;
  std::shared_ptr<Logger> logger;
};

} // namespace tarn::utils
