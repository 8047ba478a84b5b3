#pragma once

namespace tarn::db
{

class DBConnectorSql;

/// While it lives, outside of transactions, commits on an embedded database do not wait for the disk: they are there
/// for every process at once, and after a power cut up to some point in their order. The first commit after it waits
/// for all of them. For what can be repeated, and whose success is written afterwards.
class DeferredSync
{
public:
  explicit DeferredSync(DBConnectorSql& db);
  ~DeferredSync();
  DeferredSync(const DeferredSync&) = delete;
  DeferredSync& operator=(const DeferredSync&) = delete;

private:
  DBConnectorSql& db;
};

} // namespace tarn::db
