#pragma once

#include "db/GlobalLock.h"
#include "db/mysql/mysqlHandles.h"

#include <memory>
#include <string>

namespace tarn::db
{

/// A lock of the server that belongs to one connection (GET_LOCK).
class MysqlLock : public GlobalLock
{
public:
  /// Tries once, without waiting. Returns null while another connection holds the lock. Throws DBException.
  static std::unique_ptr<MysqlLock> tryLock(const MysqlConnection& connection, const std::string& name);
  ~MysqlLock() override;

private:
  MysqlLock(MysqlConnection connection, std::string name);

  MysqlConnection connection;
  std::string name;
};

} // namespace tarn::db
