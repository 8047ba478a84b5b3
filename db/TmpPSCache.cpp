// One statement that is made at run time.
#include "db/TmpPSCache.h"

#include <utility>

namespace tarn::db
{

TmpPSCache::TmpPSCache(DBConnectorSql& db, std::string text, int params, int results)
  : PSCache(db), text(std::move(text)), only([this] { return this->text; }, params, results)
{
  registerQuery(only);
  init();
}

} // namespace tarn::db
