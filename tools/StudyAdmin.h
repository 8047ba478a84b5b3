#pragma once

#include "db/ArchiveAdmin.h"
#include "study/meta/MetaManager.h"
#include "tools/StudyObject.h"

#include <list>
#include <optional>
#include <string>
#include <vector>

namespace tarn::db
{
class DBConnectorSql;
}

namespace tarn::tools
{

/// How studies are added.
struct AddOptions
{
  std::optional<bool> metaRequired; ///< nothing: as it was, false for a new study
  bool replace = false;             ///< drops the objects that the study had
};

/// What add() made of a study.
struct AddedStudy
{
  std::size_t objects = 0; ///< all of them
  std::size_t added = 0;
  std::size_t changed = 0;
};

/// What is known of a study.
struct StudyReport
{
  db::StudyState state;
  utils::Status meta = utils::STATUS_MISSING;
  std::string metaDir; ///< empty unless `meta` is a success

  bool isKnown() const;
};

/// Registers, shows and removes studies: the rows of the database and the meta directory together. Changes are made
/// under the study's lock. Operations throw standard exceptions, whose texts are one line.
class StudyAdmin
{
public:
  explicit StudyAdmin(db::DBConnectorSql& db);

  std::list<std::string> listStudies() { return admin.listStudies(); }
  StudyReport reportOn(const std::string& study);

  /// Registers objects of one study. Its meta directory is made where it is missing, filled from the legacy place where
  /// it has a state there, and gets a store state. The next run of the converter imports. A crash at any point leaves
  /// the object meta file whole, old or new, and no entry that calls other rows valid; where the count of objects and
  /// the file do not belong together, an import refuses them and the same call repairs them.
  AddedStudy add(const std::string& study, const std::vector<StudyObject>& objects, const AddOptions& options);
  /// Drops the entry of the object cache and the error references.
  void clearError(const std::string& study);
  /// Removes the meta directory, what is parked of it, and then the study's rows: what is interrupted still shows.
  void remove(const std::string& study);

private:
  std::string metaDirForWriting(const std::string& study);
  void writeStoreState(const std::string& metaDir);
  void resetEntry(const std::string& study, const db::StudyState& state);
  void removeMeta(const std::string& study);

  db::DBConnectorSql& db;
  db::ArchiveAdmin admin;
  utils::MetaManager metaManager;
};

} // namespace tarn::tools
