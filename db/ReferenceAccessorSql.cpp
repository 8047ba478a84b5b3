// The table of references.
#include "db/ReferenceAccessorSql.h"

#include "db/DBConnectorSql.h"

namespace tarn::db
{

bool ReferenceAccessorSql::hasReference(const std::string& key, const std::string& kind, const std::string& name)
{
  return !db.query("SELECT NAME FROM object_references WHERE REFKEY=? AND KIND=? AND NAME=?", key, kind, name).empty();
}

void ReferenceAccessorSql::addReference(const std::string& key, const std::string& kind, const std::string& name)
{
  db.query("INSERT INTO object_references(REFKEY,KIND,NAME) VALUES (?,?,?) ON DUPLICATE KEY UPDATE NAME=NAME", key,
           kind, name);
}

} // namespace tarn::db
