// Prepared statements whose texts are made at run time.
#include "db/PSCache.h"

#include "db/DBConnectorSql.h"
#include "db/DBException.h"
#include "db/QueryBindings.h"
#include "db/SqlSession.h"
#include "db/runStatement.h"

#include <algorithm>
#include <string>

namespace tarn::db
{
namespace
{

constexpr int kMostParams = 65535; // of MySQL's protocol; refused alike on every database

} // namespace

PSCache::PSCache(DBConnectorSql& db) : db(db) {}

PSCache::~PSCache() = default;

void PSCache::init()
{
  statements.resize(queries.size());
}

void PSCache::executeUpdate(const PsQuery& query, QueryBindings& bindings, bool commit)
{
  if (!commit && !db.inTransaction())
    throw DBException("a change that is part of a transaction was made outside of one");
  executeQuery(query, bindings, [] {});
}

void PSCache::executeQuery(const PsQuery& query, QueryBindings& bindings, const std::function<void()>& onRow)
{
  SqlStatement& prepared = statement(query);
  runStatement(prepared, bindings.values(),
               [&](SqlRow& row)
               {
                 bindings.setRow(std::move(row));
                 onRow();
               });
}

SqlStatement& PSCache::statement(const PsQuery& query)
{
  const auto found = std::find(queries.begin(), queries.end(), &query);
  const auto index = static_cast<std::size_t>(found - queries.begin());
  if (index >= statements.size())
    throw DBException("a statement was run that is not registered");
  if (!statements[index])
    statements[index] = prepare(query);
  return *statements[index];
}

std::unique_ptr<SqlStatement> PSCache::prepare(const PsQuery& query)
{
  if (query.paramCount() > kMostParams)
    throw DBException("a statement has more than " + std::to_string(kMostParams) + " parameters");
  std::unique_ptr<SqlStatement> prepared = db.session().prepare(query.text());
  checkCount("result columns", static_cast<std::size_t>(query.resultCount()), prepared->resultCount());
  return prepared;
}

} // namespace tarn::db
