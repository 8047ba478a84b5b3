#pragma once

#include "base/IMSemaphore.h"

#include <memory>
#include <string>

namespace tarn::db
{
class DBConnector;
class GlobalLock;
} // namespace tarn::db

namespace tarn::imutils
{

/// A lock between all processes and hosts that use one database, given back when this is destroyed and when its
/// process or connection ends. On MySQL it is the server's GET_LOCK on this connection (a name above 64 bytes is
/// hashed by the server), beside an embedded database a locked file, for one in memory, which no other connection sees,
/// nothing. A lock that went with its connection shows by the next operation on the connection, which throws
/// DBException. Two semaphores of one name on one connection share the lock.
class IMSemaphoreGlobal : public IMSemaphore
{
public:
  /// Takes nothing yet. `db`, made by DBConnector::createConnector, is borrowed.
  IMSemaphoreGlobal(std::string name, tarn::db::DBConnector* db);

protected:
  /// Throws DBException when the database fails.
  bool tryLock() override;

private:
  std::string name;
  tarn::db::DBConnector* db;
  std::shared_ptr<tarn::db::GlobalLock> held;
};

} // namespace tarn::imutils
