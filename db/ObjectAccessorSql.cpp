// The object table.
#include "db/ObjectAccessorSql.h"

#include "db/DBConnectorSql.h"

namespace tarn::db
{

bool ObjectAccessorSql::findObject(const std::string& studyUid, const std::string& objectName, ObjectRecord& record)
{
  const auto rows = db.query("SELECT SOPCLASSUID,SOPINSTUID,SERIESUID,IMGCOLUMNS,IMGROWS,IMGFRAMES FROM " +
                                 db.tables().name(kObjectTable) + " WHERE STUDYUID=? AND FNAME=?",
                             studyUid, objectName);
  for (const SqlRow& row : rows)
    record = {row.text(0), row.text(1), row.text(2), row.number(3), row.number(4), row.number(5)};
  return !rows.empty();
}

} // namespace tarn::db
