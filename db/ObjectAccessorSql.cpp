#include "db/ObjectAccessorSql.h"

#include "db/DBConnectorSql.h"
#include "db/QueryBindings.h"

namespace tarn::db
{

ObjectAccessorSql::ObjectAccessorSql(DBConnectorSql& db)
  : PSCache(db), find(
                     [&db]
                     {
                       return "SELECT SOPCLASSUID,SOPINSTUID,SERIESUID,IMGCOLUMNS,IMGROWS,IMGFRAMES FROM " +
                              db.tables().name(kObjectTable) + " WHERE STUDYUID=? AND FNAME=?";
                     },
                     2, 6)
{
  registerQuery(find);
  init();
}

bool ObjectAccessorSql::findObject(const std::string& studyUid, const std::string& objectName, ObjectRecord& record)
{
  const auto bindings = find.mkBindings();
  bindings->bindText(0, studyUid);
  bindings->bindText(1, objectName);
  if (!fetchRow(find, *bindings))
    return false;
  record = {bindings->text(0),   bindings->text(1),   bindings->text(2),
            bindings->number(3), bindings->number(4), bindings->number(5)};
  return true;
}

} // namespace tarn::db
