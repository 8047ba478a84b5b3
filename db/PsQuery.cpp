#include "db/PsQuery.h"

#include "db/QueryBindings.h"

#include <utility>

namespace tarn::db
{

PsQuery::PsQuery(Text text, int paramCount, int resultCount)
  : makeText(std::move(text)), params(paramCount), results(resultCount)
{
}

std::unique_ptr<QueryBindings> PsQuery::mkBindings() const
{
  return std::make_unique<QueryBindings>(params, results);
}

} // namespace tarn::db
