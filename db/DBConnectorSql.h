#pragma once

#include "db/ArchiveTables.h"
#include "db/DBConnector.h"
#include "db/SqlAccessors.h"
#include "db/SqlRow.h"
#include "db/SqlValue.h"

#include <list>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tarn::db
{

class SqlSession;
class SqlStatement;

/// What connecting to an embedded database does where there is no such file.
enum class Missing
{
  refuse,
  create ///< an empty one, without tables
};

/// The connection as those see it who run statements of their own. DBConnector::createConnector returns one. REQUIRES:
/// it outlives whatever borrows it.
class DBConnectorSql : public DBConnector
{
public:
  /// Returns a connection that stands, as DBConnector::createConnector does.
  static std::unique_ptr<DBConnectorSql> open(Missing missing);

  /// Connects when it is first used.
  explicit DBConnectorSql(Missing missing);
  ~DBConnectorSql() override;
  DBConnectorSql(const DBConnectorSql&) = delete;
  DBConnectorSql& operator=(const DBConnectorSql&) = delete;

  void connect() override;

  ReferenceAccessor& references() override { return accessors; }
  MetaAccessor& meta() override { return accessors; }
  ObjCacheAccessor& objCache() override { return accessors; }
  ObjectAccessor& objects() override { return accessors; }
  DeviceAccessor& devices() override { return accessors; }

  /// Runs a statement with these texts and whole numbers for its parameters, and returns its rows. It is prepared when
  /// it first runs, and kept: its text is one that is known when this is compiled, but for the names of tables. Outside
  /// of a Transaction a change stands when the call returns. Throws DBException.
  template <class... Values>
  std::vector<SqlRow> query(const std::string& sql, const Values&... values)
  {
    return run(sql, {toSqlValue(values)...});
  }

  /// Connects when it is first called.
  SqlSession& session();
  /// For a caller whose work failed: throws DBException where the database is gone, or with `forWriting` its disk full.
  void requireUsable(bool forWriting);
  const ArchiveTables& tables() const { return tableNames; }
  /// Makes the tables of the archive that do not exist, under the names of tables(). Throws DBException.
  void createTables(Tables which = Tables::all);
  bool inTransaction() const { return transactionOpen; }

  /// Tries once, without waiting, to get the lock `name`. Returns null when another connection holds it, and the same
  /// lock where this connection holds it already: it is given back when the last owner drops it. Throws DBException.
  std::shared_ptr<void> tryLock(const std::string& name);

private:
  friend class Transaction;

  std::vector<SqlRow> run(const std::string& sql, const std::vector<SqlValue>& values);

  Missing missing;
  std::unique_ptr<SqlSession> backend; ///< null until it is connected
  ArchiveTables tableNames;
  bool transactionOpen = false;
  std::list<std::pair<std::string, std::weak_ptr<void>>> heldLocks;
  std::map<std::string, std::unique_ptr<SqlStatement>> statements; ///< of the session, by their text; go before it
  SqlAccessors accessors{*this};
};

} // namespace tarn::db
