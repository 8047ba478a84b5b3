#pragma once

#include "db/ObjCacheAccessor.h"
#include "db/PSCache.h"

#include <list>
#include <optional>
#include <string>

namespace tarn::db
{

/// What the database holds of a study.
struct StudyState
{
  struct Row
  {
    int objectCount = 0;
    bool metaRequired = false;
  };
  std::optional<Row> row;             ///< of the table `studies`
  std::optional<ObjCacheEntry> entry; ///< of the object-cache table
  std::string entryUpdated;           ///< when the entry was written, UTC, `2024-01-31 23:59:59`
  int objectRows = 0;                 ///< rows of the object table
  int references = 0;                 ///< of every name, on the study and on its objects
};

/// What an administrator does with the tables; everything throws DBException. Each change stands as a whole when its
/// operation returns. Whoever changes a study that may be imported meanwhile holds its lock.
class ArchiveAdmin : private PSCache
{
public:
  explicit ArchiveAdmin(DBConnectorSql& db);

  /// Makes the tables that do not exist, under the names that the environment gives.
  void createSchema();

  /// The studies that have a row in `studies` or an entry in the object-cache table, in byte order.
  std::list<std::string> listStudies();
  StudyState studyState(const std::string& studyUid);

  /// Makes or changes the row of `studies`, and drops the study's object rows, entry and "ocerror" references: the
  /// next run imports its object meta file anew.
  void registerStudy(const std::string& studyUid, int objectCount, bool metaRequired);
  /// Makes or changes the row of `studies` alone.
  void putStudy(const std::string& studyUid, int objectCount, bool metaRequired);
  /// Drops the entry of the study and its "ocerror" references: the next run imports again.
  void clearError(const std::string& studyUid);
  /// Drops the study from every table, with references of every name.
  void removeStudy(const std::string& studyUid);

private:
  void changeStudy(const PsQuery& query, const std::string& studyUid);
  void changeReferences(const PsQuery& query, const std::string& studyUid);

  DBConnectorSql& db;
  PsQuery allStudies;
  PsQuery rowOfStudy;
  PsQuery entryOfStudy;
  PsQuery objectRowCount;
  PsQuery referenceCount;
  PsQuery putRow;
  PsQuery dropRow;
  PsQuery dropEntry;
  PsQuery dropObjects;
  PsQuery dropErrors;
  PsQuery dropReferences;
};

} // namespace tarn::db
