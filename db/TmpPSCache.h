#pragma once

#include "db/PSCache.h"

#include <string>
#include <utility>

namespace tarn::db
{

/// One prepared statement whose text is made at run time, of which it keeps a copy.
class TmpPSCache : public PSCache
{
public:
  TmpPSCache(DBConnectorSql& db, std::string text, int params, int results)
    : PSCache(db), text(std::move(text)), only([this] { return this->text; }, params, results)
  {
    registerQuery(only);
    init();
  }

  const PsQuery& query() const { return only; }

private:
  std::string text;
  PsQuery only;
};

} // namespace tarn::db
