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

/// A set of prepared statements of one connection. A derived class registers its queries, which live as long as it
/// does, and calls init(); each statement is prepared when it first runs, and kept. Failures are DBExceptions.
class PSCache
{
public:
  explicit PSCache(DBConnectorSql& db);
  virtual ~PSCache();
  PSCache(const PSCache&) = delete;
  PSCache& operator=(const PSCache&) = delete;

  /// Ends the registration; nothing runs before.
  void init();

  /// Runs a statement that gives no rows. `commit` says that the change stands when the call returns (when the
  /// Transaction commits, where one is open); without it the change belongs to a Transaction, and is refused where
  /// none is open.
  void executeUpdate(const PsQuery& query, QueryBindings& bindings, bool commit);
  /// Runs a query; `onRow` is called for each row, which `bindings` holds then. It may run other statements.
  void executeQuery(const PsQuery& query, QueryBindings& bindings, const std::function<void()>& onRow);
  /// Runs a query that gives one row at most; whether it did.
  [[nodiscard]] bool fetchRow(const PsQuery& query, QueryBindings& bindings);

protected:
  void registerQuery(const PsQuery& query);

private:
  SqlStatement& statement(const PsQuery& query);
  std::unique_ptr<SqlStatement> prepare(const PsQuery& query);

  DBConnectorSql& connection;
  std::vector<const PsQuery*> queries;
  std::vector<std::unique_ptr<SqlStatement>> statements; ///< one a query after init(), null until prepared
};

} // namespace tarn::db
