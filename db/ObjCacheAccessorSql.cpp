// The object-cache table, and the names of a study's objects.
#include "db/ObjCacheAccessorSql.h"

#include "db/DBConnectorSql.h"

namespace tarn::db
{

bool ObjCacheAccessorSql::isObjCacheValid(const std::string& studyUid)
{
  ObjCacheEntry entry;
  return getObjCacheEntry(studyUid, 0, entry) && entry.status == kObjCacheValid && !entry.error;
}

bool ObjCacheAccessorSql::getObjCacheEntry(const std::string& studyUid, int /*mode*/, ObjCacheEntry& entry)
{
  const auto rows =
      db.query("SELECT STATUS,ERROR FROM " + db.tables().name(kObjCacheTable) + " WHERE STUDYUID=?", studyUid);
  for (const SqlRow& row : rows)
    entry = {row.number(0), row.number(1) != 0};
  return !rows.empty();
}

void ObjCacheAccessorSql::setObjCacheStatus(const std::string& studyUid, int status)
{
  db.query("INSERT INTO " + db.tables().name(kObjCacheTable) +
               "(STUDYUID,STATUS,ERROR,UPDATED) VALUES (?,?,?,CURRENT_TIMESTAMP) ON DUPLICATE KEY UPDATE "
               "STATUS=VALUES(STATUS),ERROR=VALUES(ERROR),UPDATED=VALUES(UPDATED)",
           studyUid, status, status == kObjCacheError ? 1 : 0);
}

void ObjCacheAccessorSql::listObjCacheFiles(const std::string& studyUid, std::list<std::string>& files)
{
  for (const SqlRow& row :
       db.query("SELECT FNAME FROM " + db.tables().name(kObjectTable) + " WHERE STUDYUID=? ORDER BY FNAME", studyUid))
    files.push_back(row.text(0));
}

} // namespace tarn::db
