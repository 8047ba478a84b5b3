#include "db/ReferenceAccessorSql.h"

#include "db/QueryBindings.h"

namespace tarn::db
{
namespace
{

std::unique_ptr<QueryBindings> bindReference(const PsQuery& query, const std::string& key, const std::string& kind,
                                             const std::string& name)
{
  auto bindings = query.mkBindings();
  bindings->bindText(0, key);
  bindings->bindText(1, kind);
  bindings->bindText(2, name);
  return bindings;
}

} // namespace

ReferenceAccessorSql::ReferenceAccessorSql(DBConnectorSql& db)
  : PSCache(db), find([] { return "SELECT NAME FROM object_references WHERE REFKEY=? AND KIND=? AND NAME=?"; }, 3, 1),
    add([]
        { return "INSERT INTO object_references(REFKEY,KIND,NAME) VALUES (?,?,?) ON DUPLICATE KEY UPDATE NAME=NAME"; },
        3, 0)
{
  registerQuery(find);
  registerQuery(add);
  init();
}

bool ReferenceAccessorSql::hasReference(const std::string& key, const std::string& kind, const std::string& name)
{
  return fetchRow(find, *bindReference(find, key, kind, name));
}

void ReferenceAccessorSql::addReference(const std::string& key, const std::string& kind, const std::string& name)
{
  executeUpdate(add, *bindReference(add, key, kind, name), true);
}

} // namespace tarn::db
