#pragma once

#include "db/ArchiveAdmin.h"
#include "study/meta/MetaManager.h"
#include "study/objectmeta/ObjMetaUpdate.h"

#include <list>
#include <optional>
#include <string>
#include <vector>

namespace tarn::tools
{

/// The options of adding studies.
struct AddOptions
{
  std::optional<bool> metaRequired; ///< nothing keeps what the study has; a new study has false
  bool replace = false;             ///< drops the objects that the study has
};

/// What is known of a study.
struct StudyReport
{
  db::StudyState state;
  utils::Status meta = utils::STATUS_MISSING;
  std::string metaDir; ///< empty unless `meta` is a success

  bool isKnown() const { return state.row || state.entry || state.objectRows > 0 || state.references > 0 || meta; }
};

/// Registers, shows and removes studies: their rows in the database together with their meta directories. Changes are
/// made under the study's lock. Operations throw standard exceptions, whose texts are one line.
class StudyAdmin
{
public:
  explicit StudyAdmin(db::DBConnectorSql& db) : db(db), admin(db) {}

  std::list<std::string> listStudies() { return admin.listStudies(); }
  StudyReport reportOn(const std::string& studyUid);

  /// Registers objects of one study, which the next run of the converter imports. A missing meta directory is made and
  /// filled from the legacy layout where the study has a state there; a missing store state is written. A crash at any
  /// point leaves the object meta file whole, old or new, and no entry that calls other rows valid. Where a crash
  /// leaves a count of objects that does not belong to the file, an import refuses them and the same call repairs them.
  study::ObjMetaUpdate add(const std::string& studyUid, const std::vector<study::StudyObject>& objects,
                           const AddOptions& options);
  /// Drops the study's entry of the object cache and its error references.
  void clearError(const std::string& studyUid);
  /// Removes the meta directory, its parked files and then the study's rows, so that an interrupted removal still
  /// shows.
  void remove(const std::string& studyUid);

private:
  /// Returns the study's meta directory, which has a store state.
  std::string makeMetaDir(const std::string& studyUid);
  void resetEntry(const std::string& studyUid, const db::StudyState& state);
  void removeMeta(const std::string& studyUid);

  db::DBConnectorSql& db;
  db::ArchiveAdmin admin;
  utils::MetaManager metaManager;
};

} // namespace tarn::tools
