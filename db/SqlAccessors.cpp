// The tables as the rest of the system asks for them.
#include "db/SqlAccessors.h"

#include "db/DBConnectorSql.h"
#include "db/sqlIdentifier.h"

namespace tarn::db
{

bool SqlAccessors::hasReference(const std::string& key, const std::string& kind, const std::string& name)
{
  return !db.query("SELECT NAME FROM object_references WHERE REFKEY=? AND KIND=? AND NAME=?", key, kind, name).empty();
}

void SqlAccessors::addReference(const std::string& key, const std::string& kind, const std::string& name)
{
  db.query("INSERT INTO object_references(REFKEY,KIND,NAME) VALUES (?,?,?) ON DUPLICATE KEY UPDATE NAME=NAME", key,
           kind, name);
}

bool SqlAccessors::isMetaRequired(const std::string& studyUid)
{
  const auto rows = db.query("SELECT METAREQUIRED FROM studies WHERE STUDYUID=?", studyUid);
  return !rows.empty() && rows.front().number(0) != 0;
}

bool SqlAccessors::getStudyObjectCount(const std::string& studyUid, int& count)
{
  const auto rows = db.query("SELECT OBJECTCOUNT FROM studies WHERE STUDYUID=?", studyUid);
  for (const SqlRow& row : rows)
    count = row.number(0);
  return !rows.empty();
}

bool SqlAccessors::isObjCacheValid(const std::string& studyUid)
{
  ObjCacheEntry entry;
  return getObjCacheEntry(studyUid, 0, entry) && entry.status == kObjCacheValid && !entry.error;
}

bool SqlAccessors::getObjCacheEntry(const std::string& studyUid, int /*mode*/, ObjCacheEntry& entry)
{
  const auto rows =
      db.query("SELECT STATUS,ERROR FROM " + db.tables().name(kObjCacheTable) + " WHERE STUDYUID=?", studyUid);
  for (const SqlRow& row : rows)
    entry = {row.number(0), row.number(1) != 0};
  return !rows.empty();
}

void SqlAccessors::setObjCacheStatus(const std::string& studyUid, int status)
{
  db.query("INSERT INTO " + db.tables().name(kObjCacheTable) +
               "(STUDYUID,STATUS,ERROR,UPDATED) VALUES (?,?,?,CURRENT_TIMESTAMP) ON DUPLICATE KEY UPDATE "
               "STATUS=VALUES(STATUS),ERROR=VALUES(ERROR),UPDATED=VALUES(UPDATED)",
           studyUid, status, status == kObjCacheError ? 1 : 0);
}

void SqlAccessors::listObjCacheFiles(const std::string& studyUid, std::list<std::string>& files)
{
  for (const SqlRow& row :
       db.query("SELECT FNAME FROM " + db.tables().name(kObjectTable) + " WHERE STUDYUID=? ORDER BY FNAME", studyUid))
    files.push_back(row.text(0));
}

bool SqlAccessors::findObject(const std::string& studyUid, const std::string& objectName, ObjectRecord& record)
{
  const auto rows = db.query("SELECT SOPCLASSUID,SOPINSTUID,SERIESUID,IMGCOLUMNS,IMGROWS,IMGFRAMES FROM " +
                                 db.tables().name(kObjectTable) + " WHERE STUDYUID=? AND FNAME=?",
                             studyUid, objectName);
  for (const SqlRow& row : rows)
    record = {row.text(0), row.text(1), row.text(2), row.number(3), row.number(4), row.number(5)};
  return !rows.empty();
}

void SqlAccessors::listAutoForwardDevices(const std::string& targetTable, const std::string& serviceTable,
                                          std::list<DeviceRecord>& devices)
{
  const auto rows = db.query("SELECT T.DEVNAME,T.DEVTYPE FROM " + requireIdentifier(targetTable) +
                             " T WHERE EXISTS (SELECT S.SERVICE FROM " + requireIdentifier(serviceTable) +
                             " S WHERE S.DEVNAME=T.DEVNAME AND S.AUTOFORWARD<>0) ORDER BY T.DEVNAME");
  for (const SqlRow& row : rows)
    devices.push_back({row.text(0), row.text(1).empty() ? '\0' : row.text(1).front()});
}

} // namespace tarn::db
