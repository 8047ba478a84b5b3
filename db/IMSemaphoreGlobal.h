#pragma once

#include "base/IMSemaphore.h"

#include <memory>
#include <string>

namespace tarn::db
{
class DBConnector;
} // namespace tarn::db

namespace tarn::imutils
{

/// A lock between all processes and hosts that use one database. It is given back by the destructor, and when its
/// process or connection ends. On MySQL it is the server's GET_LOCK on this connection (the server hashes a name above
/// 64 bytes). Beside an embedded database it is a byte of a lock file. For a database in memory, which no other
/// connection sees, it is nothing. When a lock was lost with its connection, the next operation on the connection
/// throws DBException. Two semaphores of one name on one connection share the lock.
class IMSemaphoreGlobal : public IMSemaphore
{
public:
  /// Takes no lock yet. `db`, made by DBConnector::createConnector, is borrowed.
  IMSemaphoreGlobal(std::string name, tarn::db::DBConnector* db);

protected:
  /// Throws DBException when the database fails.
  bool tryLock() override;

private:
  std::string name;
  tarn::db::DBConnector* db;
  std::shared_ptr<void> held;
};

} // namespace tarn::imutils
