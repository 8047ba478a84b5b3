#pragma once

#include "db/ObjCacheAccessor.h"
#include "db/SqlRow.h"

#include <list>
#include <optional>
#include <string>
#include <vector>

namespace tarn::db
{

class DBConnectorSql;

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

/// What an administrator does with the tables. Each change stands as a whole when its operation returns. Operations
/// throw DBException. REQUIRES: whoever changes a study that may be imported meanwhile holds its lock.
class ArchiveAdmin
{
public:
  explicit ArchiveAdmin(DBConnectorSql& db) : db(db) {}

  /// Returns the studies that have a row in `studies` or an entry in the object-cache table, in byte order.
  std::list<std::string> listStudies();
  StudyState studyState(const std::string& studyUid);

  /// Makes or changes the row of `studies`, and drops the study's object rows, entry and "ocerror" references, so that
  /// the next run imports its object meta file anew.
  void registerStudy(const std::string& studyUid, int objectCount, bool metaRequired);
  /// Makes or changes the row of `studies` alone.
  void putStudy(const std::string& studyUid, int objectCount, bool metaRequired);
  /// Drops the entry of the study and its "ocerror" references, so that the next run imports again.
  void clearError(const std::string& studyUid);
  /// Drops the study from every table, with references of every name.
  void removeStudy(const std::string& studyUid);

private:
  std::vector<SqlRow> queryReferences(const char* start, const std::string& studyUid, const char* end = "");
  void dropFrom(const std::string& table, const std::string& studyUid);
  void dropErrors(const std::string& studyUid);

  DBConnectorSql& db;
};

} // namespace tarn::db
