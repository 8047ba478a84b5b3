#pragma once

#include "db/PsQuery.h"
#include "db/SqlStatement.h"

#include <map>
#include <memory>

namespace tarn::db
{

class DBConnectorSql;

/// A set of prepared statements of one connection whose texts are made at run time; DBConnectorSql::query() is for
/// those that are known before. A derived class registers its queries, which live as long as it does, and calls init().
/// Each statement is prepared by init(), and kept. Operations throw DBException.
class PSCache
{
public:
  explicit PSCache(DBConnectorSql& db) : db(db) {}
  virtual ~PSCache() = default;
  PSCache(const PSCache&) = delete;
  PSCache& operator=(const PSCache&) = delete;

  /// Ends the registration and prepares the statements. REQUIRES: it is called before a statement runs.
  void init();

  /// Runs a statement that gives no rows. `commit` says that the change stands when the call returns (when the
  /// Transaction commits, where one is open). Without it the change belongs to a Transaction, and is refused where none
  /// is open.
  void executeUpdate(const PsQuery& query, QueryBindings& bindings, bool commit);

protected:
  void registerQuery(const PsQuery& query) { statements[&query]; }

private:
  DBConnectorSql& db;
  std::map<const PsQuery*, std::unique_ptr<SqlStatement>> statements; ///< null until init()
};

} // namespace tarn::db
