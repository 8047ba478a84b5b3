#include "db/PSCache.h"

#include "db/DBConnectorSql.h"
#include "db/DBException.h"
#include "db/QueryBindings.h"
#include "db/SqlSession.h"
#include "db/SqlStatement.h"

#include <algorithm>
#include <string>

namespace tarn::db
{
namespace
{

constexpr int kMostParams = 65535; // of MySQL's protocol; refused alike on every database

void checkCount(const char* what, std::size_t given, std::size_t needed)
{
  if (given != needed)
    throw DBException("a statement has " + std::to_string(needed) + " " + what + ", not " + std::to_string(given));
}

/// One execution; what is left of it is dropped at its end.
class Execution
{
public:
  Execution(SqlStatement& prepared, const QueryBindings& bindings) : statement(prepared), values(bindings.values())
  {
    checkCount("parameters", values.size(), statement.paramCount());
  }
  ~Execution() { statement.reset(); }
  Execution(const Execution&) = delete;
  Execution& operator=(const Execution&) = delete;

  void start() { statement.execute(values); }
  [[nodiscard]] bool next(SqlRow& row) { return statement.fetch(row); }

private:
  SqlStatement& statement;
  std::vector<SqlValue> values;
};

} // namespace

PSCache::PSCache(DBConnectorSql& db) : connection(db) {}

PSCache::~PSCache() = default;

void PSCache::registerQuery(const PsQuery& query)
{
  queries.push_back(&query);
}

void PSCache::init()
{
  statements.resize(queries.size());
}

void PSCache::executeUpdate(const PsQuery& query, QueryBindings& bindings, bool commit)
{
  if (!commit && !connection.inTransaction())
    throw DBException("a change that is part of a transaction was made outside of one");
  executeQuery(query, bindings, [] {});
}

void PSCache::executeQuery(const PsQuery& query, QueryBindings& bindings, const std::function<void()>& onRow)
{
  Execution execution(statement(query), bindings);
  execution.start();
  while (execution.next(bindings.row()))
    onRow();
}

bool PSCache::fetchRow(const PsQuery& query, QueryBindings& bindings)
{
  Execution execution(statement(query), bindings);
  execution.start();
  return execution.next(bindings.row());
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
  std::unique_ptr<SqlStatement> prepared = connection.session().prepare(query.text());
  checkCount("result columns", static_cast<std::size_t>(query.resultCount()), prepared->resultCount());
  return prepared;
}

} // namespace tarn::db
