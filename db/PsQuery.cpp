// The text and size of a statement that is made at run time.
#include "db/PsQuery.h"

#include "db/QueryBindings.h"

#include <utility>

namespace tarn::db
{

PsQuery::PsQuery(Text makeText, int params, int results)
  : makeText(std::move(makeText)), params(params), results(results)
{
}

std::unique_ptr<QueryBindings> PsQuery::mkBindings() const
{
  return std::make_unique<QueryBindings>(params, results);
}

} // namespace tarn::db
