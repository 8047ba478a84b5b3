#pragma once

#include "db/PsQuery.h"

#include <functional>
#include <memory>
#include <vector>

namespace tarn::db
{

class DBConnectorSql;
class QueryBindings;
class SqlStatement;

/// A set of prepared statements of one connection whose texts are made at run time; DBConnectorSql::query() is for
/// those that are known before. A derived class registers its queries, which live as long as it does, and calls init().
/// Each statement is prepared when it first runs, and kept. Operations throw DBException.
class PSCache
{
public:
  explicit PSCache(DBConnectorSql& db);
  virtual ~PSCache();
  PSCache(const PSCache&) = delete;
  PSCache& operator=(const PSCache&) = delete;

  /// Ends the registration. REQUIRES: it is called before a statement runs.
  void init();

  /// Runs a statement that gives no rows. `commit` says that the change stands when the call returns (when the
  /// Transaction commits, where one is open). Without it the change belongs to a Transaction, and is refused where none
  /// is open.
  void executeUpdate(const PsQuery& query, QueryBindings& bindings, bool commit);
  /// Runs a query and calls `onRow` for each row, which `bindings` holds then. `onRow` may run other statements.
  void executeQuery(const PsQuery& query, QueryBindings& bindings, const std::function<void()>& onRow);

protected:
  void registerQuery(const PsQuery& query) { queries.push_back(&query); }

private:
  SqlStatement& statement(const PsQuery& query);
  std::unique_ptr<SqlStatement> prepare(const PsQuery& query);

  DBConnectorSql& db;
  std::vector<const PsQuery*> queries;
  std::vector<std::unique_ptr<SqlStatement>> statements; ///< one a query after init(), null until prepared
};

} // namespace tarn::db
