#include "db/TmpPSCache.h"

#include <utility>

namespace tarn::db
{

TmpPSCache::TmpPSCache(DBConnectorSql& db, std::string statement, int params, int results)
  : PSCache(db), text(std::move(statement)), only([this] { return text; }, params, results)
{
  registerQuery(only);
  init();
}

} // namespace tarn::db
