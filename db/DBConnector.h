#pragma once

#include <memory>

namespace tarn::db
{

class DeviceAccessor;
class MetaAccessor;
class ObjCacheAccessor;
class ObjectAccessor;
class ReferenceAccessor;

/// One connection to the archive's database. The accessors that it hands out live as long as it does. Every operation
/// of an accessor throws DBException when the database fails. A lost connection is such a failure and is never silently
/// renewed: a lock that is held through it would be lost unnoticed. REQUIRES: one thread at a time uses it.
class DBConnector
{
public:
  /// Opens what TARN_DB_URL names: `mysql://USER@HOST[:PORT]/DATABASE?socket=PATH&ssl-ca=FILE&defaults-group=NAME`,
  /// `sqlite:PATH` or `sqlite::memory:`; unset, the embedded database at
  /// ${XDG_STATE_HOME:-$HOME/.local/state}/annomend/archive.db, made with its schema on first use, or in memory where
  /// no such folder can be written. `connection` is 0, the only one. Throws DBException, whose text names the URL
  /// without its password, and the reason.
  static std::unique_ptr<DBConnector> createConnector(int connection = 0);

  /// Connects, unless that is done already. Throws as createConnector does.
  virtual void connect() = 0;

  virtual ReferenceAccessor& references() = 0;
  virtual MetaAccessor& meta() = 0;
  virtual ObjCacheAccessor& objCache() = 0;
  virtual ObjectAccessor& objects() = 0;
  virtual DeviceAccessor& devices() = 0;

  virtual ~DBConnector() = default;
};

} // namespace tarn::db
