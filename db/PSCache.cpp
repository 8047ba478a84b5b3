// Prepared statements whose texts are made at run time.
#include "db/PSCache.h"

#include "db/DBConnectorSql.h"
#include "db/DBException.h"
#include "db/SqlSession.h"

#include <string>

namespace tarn::db
{
namespace
{

constexpr int kMostParams = 65535; // of MySQL's protocol; refused alike on every database

} // namespace

void PSCache::init()
{
  for (auto& [query, statement] : statements)
  {
    if (query->paramCount() > kMostParams)
      throw DBException("a statement has more than " + std::to_string(kMostParams) + " parameters");
    statement = db.session().prepare(query->text());
    SqlStatement::requireCount("result columns", static_cast<std::size_t>(query->resultCount()),
                               statement->resultCount());
  }
}

// cppcheck-suppress constParameter ; the signature is part of the contract
void PSCache::executeUpdate(const PsQuery& query, QueryBindings& bindings, bool commit)
{
  if (!commit && !db.inTransaction())
    throw DBException("a change that is part of a transaction was made outside of one");
  const auto found = statements.find(&query);
  if (found == statements.end() || !found->second)
    throw DBException("a statement was run that is not registered");
  found->second->run(bindings.values());
}

} // namespace tarn::db
