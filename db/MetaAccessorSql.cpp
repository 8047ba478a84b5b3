// The table of studies, as an import sees it.
#include "db/MetaAccessorSql.h"

#include "db/DBConnectorSql.h"

namespace tarn::db
{

bool MetaAccessorSql::isMetaRequired(const std::string& studyUid)
{
  const auto rows = db.query("SELECT METAREQUIRED FROM studies WHERE STUDYUID=?", studyUid);
  return !rows.empty() && rows.front().number(0) != 0;
}

bool MetaAccessorSql::getStudyObjectCount(const std::string& studyUid, int& count)
{
  const auto rows = db.query("SELECT OBJECTCOUNT FROM studies WHERE STUDYUID=?", studyUid);
  for (const SqlRow& row : rows)
    count = row.number(0);
  return !rows.empty();
}

} // namespace tarn::db
