#pragma once

#include "db/ArchiveTables.h"
#include "db/DBConnector.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tarn::db
{

class GlobalLock;
class SqlSession;

/// What connecting to an embedded database does where there is none.
enum class Missing
{
  refuse,
  create ///< an empty one, without tables
};

/// The connection as those see it who prepare statements of their own (PSCache). What DBConnector::createConnector
/// gives is one. Not to be destroyed before what borrows it.
class DBConnectorSql : public DBConnector
{
public:
  /// As DBConnector::createConnector: connected.
  static std::unique_ptr<DBConnectorSql> open(Missing missing);

  /// Not connected yet.
  explicit DBConnectorSql(Missing missing);
  ~DBConnectorSql() override;
  DBConnectorSql(const DBConnectorSql&) = delete;
  DBConnectorSql& operator=(const DBConnectorSql&) = delete;

  void connect() override;

  ReferenceAccessor& references() override { return *referenceAccessor; }
  MetaAccessor& meta() override { return *metaAccessor; }
  ObjCacheAccessor& objCache() override { return *objCacheAccessor; }
  ObjectAccessor& objects() override { return *objectAccessor; }
  DeviceAccessor& devices() override { return *deviceAccessor; }

  SqlSession& session();
  const ArchiveTables& tables() const { return tableNames; }
  /// Whether the database ends with this connection: nobody else will see what is written.
  bool isInMemory();
  /// Returns when every change that has been committed survives a power cut; throws DBException.
  void sync();
  bool inTransaction() const { return transactionOpen; }

  /// One attempt, without waiting, to get the lock `name`; null when another connection holds it. Where this
  /// connection holds it already, the same lock: it is given back when the last owner drops it.
  std::shared_ptr<GlobalLock> tryLock(const std::string& name);

private:
  friend class Transaction;

  Missing ifMissing;
  std::unique_ptr<SqlSession> backend; ///< null until it is connected
  ArchiveTables tableNames;
  bool transactionOpen = false;
  std::vector<std::pair<std::string, std::weak_ptr<GlobalLock>>> heldLocks;
  // The accessors hold statements of the session: they stand after it and go before it.
  std::unique_ptr<ReferenceAccessor> referenceAccessor;
  std::unique_ptr<MetaAccessor> metaAccessor;
  std::unique_ptr<ObjCacheAccessor> objCacheAccessor;
  std::unique_ptr<ObjectAccessor> objectAccessor;
  std::unique_ptr<DeviceAccessor> deviceAccessor;
};

} // namespace tarn::db
