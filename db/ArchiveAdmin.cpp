// What an administrator does with the tables.
#include "db/ArchiveAdmin.h"

#include "db/DBConnectorSql.h"
#include "db/Transaction.h"

namespace tarn::db
{
namespace
{

/// The references of a study and of its objects. Parameters: the study UID, and the bounds of the keys that start with
/// it and a slash, as a range of bytes: from "UID/" to below "UID0", as '0' follows '/'.
constexpr char kOfStudy[] = " FROM object_references WHERE ((KIND='STUDYDIR' AND REFKEY=?)"
                            " OR (KIND='OBJECTFILE' AND REFKEY>=? AND REFKEY<?))";

} // namespace

std::list<std::string> ArchiveAdmin::listStudies()
{
  std::list<std::string> studies;
  for (const SqlRow& row : db.query("SELECT STUDYUID FROM studies UNION SELECT STUDYUID FROM " +
                                    db.tables().name(kObjCacheTable) + " ORDER BY 1"))
    studies.push_back(row.text(0));
  return studies;
}

StudyState ArchiveAdmin::studyState(const std::string& studyUid)
{
  StudyState state;
  for (const SqlRow& row : db.query("SELECT OBJECTCOUNT,METAREQUIRED FROM studies WHERE STUDYUID=?", studyUid))
    state.row = StudyState::Row{row.number(0), row.number(1) != 0};
  for (const SqlRow& row :
       db.query("SELECT STATUS,ERROR,UPDATED FROM " + db.tables().name(kObjCacheTable) + " WHERE STUDYUID=?", studyUid))
  {
    state.entry = ObjCacheEntry{row.number(0), row.number(1) != 0};
    state.entryUpdated = row.text(2);
  }
  state.objectRows = db.query("SELECT COUNT(*) FROM " + db.tables().name(kObjectTable) + " WHERE STUDYUID=?", studyUid)
                         .at(0)
                         .number(0);
  state.references = queryReferences("SELECT COUNT(*)", studyUid).at(0).number(0);
  return state;
}

std::vector<SqlRow> ArchiveAdmin::queryReferences(const char* start, const std::string& studyUid, const char* end)
{
  return db.query(std::string(start) + kOfStudy + end, studyUid, studyUid + "/", studyUid + "0");
}

void ArchiveAdmin::dropFrom(const std::string& table, const std::string& studyUid)
{
  db.query("DELETE FROM " + db.tables().name(table) + " WHERE STUDYUID=?", studyUid);
}

void ArchiveAdmin::dropErrors(const std::string& studyUid)
{
  queryReferences("DELETE", studyUid, " AND NAME='ocerror'");
}

void ArchiveAdmin::putStudy(const std::string& studyUid, int objectCount, bool metaRequired)
{
  db.query("INSERT INTO studies(STUDYUID,OBJECTCOUNT,METAREQUIRED) VALUES (?,?,?) ON DUPLICATE KEY UPDATE "
           "OBJECTCOUNT=VALUES(OBJECTCOUNT),METAREQUIRED=VALUES(METAREQUIRED)",
           studyUid, objectCount, metaRequired ? 1 : 0);
}

void ArchiveAdmin::registerStudy(const std::string& studyUid, int objectCount, bool metaRequired)
{
  Transaction transaction(db);
  putStudy(studyUid, objectCount, metaRequired);
  dropFrom(kObjectTable, studyUid);
  dropFrom(kObjCacheTable, studyUid);
  dropErrors(studyUid);
  transaction.commit();
}

void ArchiveAdmin::clearError(const std::string& studyUid)
{
  Transaction transaction(db);
  dropFrom(kObjCacheTable, studyUid);
  dropErrors(studyUid);
  transaction.commit();
}

void ArchiveAdmin::removeStudy(const std::string& studyUid)
{
  Transaction transaction(db);
  for (const char* table : {"studies", kObjCacheTable, kObjectTable})
    dropFrom(table, studyUid);
  queryReferences("DELETE", studyUid);
  transaction.commit();
}

} // namespace tarn::db
