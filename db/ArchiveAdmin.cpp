#include "db/ArchiveAdmin.h"

#include "db/createTables.h"
#include "db/DBConnectorSql.h"
#include "db/QueryBindings.h"
#include "db/Transaction.h"

namespace tarn::db
{
namespace
{

/// The references of a study and of its objects. Parameters: the study UID, and the bounds of the keys that start with
/// it and a slash.
constexpr char kOfStudy[] = " FROM object_references WHERE ((KIND='STUDYDIR' AND REFKEY=?)"
                            " OR (KIND='OBJECTFILE' AND REFKEY>=? AND REFKEY<?))";

/// The keys of a study's objects, as a range of bytes: from "UID/" to below "UID0", as '0' follows '/'.
struct ObjectKeys
{
  explicit ObjectKeys(const std::string& studyUid) : first(studyUid + "/"), behind(studyUid + "0") {}
  std::string first;
  std::string behind;
};

void bindStudyReferences(QueryBindings& bindings, const std::string& studyUid, const ObjectKeys& keys)
{
  bindings.bindText(0, studyUid);
  bindings.bindText(1, keys.first);
  bindings.bindText(2, keys.behind);
}

PsQuery::Text textFor(DBConnectorSql& db, const char* before, const char* table, const char* after)
{
  return [&db, before, table, after] { return before + db.tables().name(table) + after; };
}

} // namespace

ArchiveAdmin::ArchiveAdmin(DBConnectorSql& connector)
  : PSCache(connector), db(connector),
    allStudies(textFor(db, "SELECT STUDYUID FROM studies UNION SELECT STUDYUID FROM ", kObjCacheTable, " ORDER BY 1"),
               0, 1),
    rowOfStudy([] { return "SELECT OBJECTCOUNT,METAREQUIRED FROM studies WHERE STUDYUID=?"; }, 1, 2),
    entryOfStudy(textFor(db, "SELECT STATUS,ERROR,UPDATED FROM ", kObjCacheTable, " WHERE STUDYUID=?"), 1, 3),
    objectRowCount(textFor(db, "SELECT COUNT(*) FROM ", kObjectTable, " WHERE STUDYUID=?"), 1, 1),
    referenceCount([] { return std::string("SELECT COUNT(*)") + kOfStudy; }, 3, 1),
    putRow(
        []
        {
          return "INSERT INTO studies(STUDYUID,OBJECTCOUNT,METAREQUIRED) VALUES (?,?,?) ON DUPLICATE KEY UPDATE "
                 "OBJECTCOUNT=VALUES(OBJECTCOUNT),METAREQUIRED=VALUES(METAREQUIRED)";
        },
        3, 0),
    dropRow([] { return "DELETE FROM studies WHERE STUDYUID=?"; }, 1, 0),
    dropEntry(textFor(db, "DELETE FROM ", kObjCacheTable, " WHERE STUDYUID=?"), 1, 0),
    dropObjects(textFor(db, "DELETE FROM ", kObjectTable, " WHERE STUDYUID=?"), 1, 0),
    dropErrors([] { return std::string("DELETE") + kOfStudy + " AND NAME='ocerror'"; }, 3, 0),
    dropReferences([] { return std::string("DELETE") + kOfStudy; }, 3, 0)
{
  for (const PsQuery* query : {&allStudies, &rowOfStudy, &entryOfStudy, &objectRowCount, &referenceCount, &putRow,
                               &dropRow, &dropEntry, &dropObjects, &dropErrors, &dropReferences})
    registerQuery(*query);
  init();
}

void ArchiveAdmin::createSchema()
{
  createTables(db, Tables::all);
}

std::list<std::string> ArchiveAdmin::listStudies()
{
  std::list<std::string> studies;
  const auto bindings = allStudies.mkBindings();
  executeQuery(allStudies, *bindings, [&] { studies.push_back(bindings->text(0)); });
  return studies;
}

StudyState ArchiveAdmin::studyState(const std::string& studyUid)
{
  StudyState state;
  const auto row = rowOfStudy.mkBindings();
  row->bindText(0, studyUid);
  if (fetchRow(rowOfStudy, *row))
    state.row = StudyState::Row{row->number(0), row->number(1) != 0};

  const auto entry = entryOfStudy.mkBindings();
  entry->bindText(0, studyUid);
  if (fetchRow(entryOfStudy, *entry))
  {
    state.entry = ObjCacheEntry{entry->number(0), entry->number(1) != 0};
    state.entryUpdated = entry->text(2);
  }

  const auto objects = objectRowCount.mkBindings();
  objects->bindText(0, studyUid);
  if (fetchRow(objectRowCount, *objects))
    state.objectRows = objects->number(0);

  const ObjectKeys keys(studyUid);
  const auto references = referenceCount.mkBindings();
  bindStudyReferences(*references, studyUid, keys);
  if (fetchRow(referenceCount, *references))
    state.references = references->number(0);
  return state;
}

void ArchiveAdmin::changeStudy(const PsQuery& query, const std::string& studyUid)
{
  const auto bindings = query.mkBindings();
  bindings->bindText(0, studyUid);
  executeUpdate(query, *bindings, true);
}

void ArchiveAdmin::changeReferences(const PsQuery& query, const std::string& studyUid)
{
  const ObjectKeys keys(studyUid);
  const auto bindings = query.mkBindings();
  bindStudyReferences(*bindings, studyUid, keys);
  executeUpdate(query, *bindings, true);
}

void ArchiveAdmin::putStudy(const std::string& studyUid, int objectCount, bool metaRequired)
{
  const auto bindings = putRow.mkBindings();
  bindings->bindText(0, studyUid);
  bindings->bindNumber(1, objectCount);
  bindings->bindNumber(2, metaRequired ? 1 : 0);
  executeUpdate(putRow, *bindings, true);
}

void ArchiveAdmin::registerStudy(const std::string& studyUid, int objectCount, bool metaRequired)
{
  Transaction transaction(db);
  putStudy(studyUid, objectCount, metaRequired);
  changeStudy(dropObjects, studyUid);
  changeStudy(dropEntry, studyUid);
  changeReferences(dropErrors, studyUid);
  transaction.commit();
}

void ArchiveAdmin::clearError(const std::string& studyUid)
{
  Transaction transaction(db);
  changeStudy(dropEntry, studyUid);
  changeReferences(dropErrors, studyUid);
  transaction.commit();
}

void ArchiveAdmin::removeStudy(const std::string& studyUid)
{
  Transaction transaction(db);
  changeStudy(dropRow, studyUid);
  changeStudy(dropEntry, studyUid);
  changeStudy(dropObjects, studyUid);
  changeReferences(dropReferences, studyUid);
  transaction.commit();
}

} // namespace tarn::db
