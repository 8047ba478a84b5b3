#include "db/ObjCacheAccessorSql.h"

#include "db/DBConnectorSql.h"
#include "db/QueryBindings.h"

namespace tarn::db
{

ObjCacheAccessorSql::ObjCacheAccessorSql(DBConnectorSql& db)
  : PSCache(db),
    entryOfStudy([&db] { return "SELECT STATUS,ERROR FROM " + db.tables().name(kObjCacheTable) + " WHERE STUDYUID=?"; },
                 1, 2),
    putEntry(
        [&db]
        {
          return "INSERT INTO " + db.tables().name(kObjCacheTable) +
                 "(STUDYUID,STATUS,ERROR,UPDATED) VALUES (?,?,?,CURRENT_TIMESTAMP) ON DUPLICATE KEY UPDATE "
                 "STATUS=VALUES(STATUS),ERROR=VALUES(ERROR),UPDATED=VALUES(UPDATED)";
        },
        3, 0),
    filesOfStudy([&db]
                 { return "SELECT FNAME FROM " + db.tables().name(kObjectTable) + " WHERE STUDYUID=? ORDER BY FNAME"; },
                 1, 1)
{
  registerQuery(entryOfStudy);
  registerQuery(putEntry);
  registerQuery(filesOfStudy);
  init();
}

bool ObjCacheAccessorSql::isObjCacheValid(const std::string& studyUid)
{
  ObjCacheEntry entry;
  return getObjCacheEntry(studyUid, 0, entry) && entry.status == kObjCacheValid && !entry.error;
}

bool ObjCacheAccessorSql::getObjCacheEntry(const std::string& studyUid, int /*mode*/, ObjCacheEntry& entry)
{
  const auto bindings = entryOfStudy.mkBindings();
  bindings->bindText(0, studyUid);
  if (!fetchRow(entryOfStudy, *bindings))
    return false;
  entry = {bindings->number(0), bindings->number(1) != 0};
  return true;
}

void ObjCacheAccessorSql::setObjCacheStatus(const std::string& studyUid, int status)
{
  const auto bindings = putEntry.mkBindings();
  bindings->bindText(0, studyUid);
  bindings->bindNumber(1, status);
  bindings->bindNumber(2, status == kObjCacheError ? 1 : 0);
  executeUpdate(putEntry, *bindings, true);
}

void ObjCacheAccessorSql::listObjCacheFiles(const std::string& studyUid, std::list<std::string>& files)
{
  const auto bindings = filesOfStudy.mkBindings();
  bindings->bindText(0, studyUid);
  executeQuery(filesOfStudy, *bindings, [&] { files.push_back(bindings->text(0)); });
}

} // namespace tarn::db
