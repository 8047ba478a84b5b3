#include "db/MetaAccessorSql.h"

#include "db/QueryBindings.h"

namespace tarn::db
{

MetaAccessorSql::MetaAccessorSql(DBConnectorSql& db)
  : PSCache(db), requirement([] { return "SELECT METAREQUIRED FROM studies WHERE STUDYUID=?"; }, 1, 1),
    objectCount([] { return "SELECT OBJECTCOUNT FROM studies WHERE STUDYUID=?"; }, 1, 1)
{
  registerQuery(requirement);
  registerQuery(objectCount);
  init();
}

bool MetaAccessorSql::isMetaRequired(const std::string& studyUid)
{
  const auto bindings = requirement.mkBindings();
  bindings->bindText(0, studyUid);
  return fetchRow(requirement, *bindings) && bindings->number(0) != 0;
}

bool MetaAccessorSql::getStudyObjectCount(const std::string& studyUid, int& count)
{
  const auto bindings = objectCount.mkBindings();
  bindings->bindText(0, studyUid);
  if (!fetchRow(objectCount, *bindings))
    return false;
  count = bindings->number(0);
  return true;
}

} // namespace tarn::db
