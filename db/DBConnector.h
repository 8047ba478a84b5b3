#pragma once

#include <memory>

namespace tarn::db
{

class DeviceAccessor;
class MetaAccessor;
class ObjCacheAccessor;
class ObjectAccessor;
class ReferenceAccessor;

/// One connection to the archive's database. The accessors that it hands out live as long as it does. Used by one
/// thread at a time. Every operation of an accessor throws DBException when the database fails; a lost connection is
/// such a failure and is never silently renewed (a lock held through it would be lost unnoticed).
class DBConnector
{
public:
  /// Opens what TARN_DB_URL names: `mysql://USER@HOST[:PORT]/DATABASE?socket=PATH&ssl-ca=FILE&defaults-group=NAME`,
  /// `sqlite:PATH` or `sqlite::memory:`; unset, the embedded database at
  /// ${XDG_STATE_HOME:-$HOME/.local/state}/annomend/archive.db, made with its schema on first use, or in memory where
  /// no such folder can be written. `connection` 0 is the only one. Throws DBException, whose text names the URL
  /// without its password, and the reason.
  static std::unique_ptr<DBConnector> createConnector(int connection = 0);

  /// Connects, where that was put off until the database is asked for the first time; throws as createConnector does.
  virtual void connect() = 0;

  virtual ReferenceAccessor& references() = 0;
  virtual MetaAccessor& meta() = 0;
  virtual ObjCacheAccessor& objCache() = 0;
  virtual ObjectAccessor& objects() = 0;
  virtual DeviceAccessor& devices() = 0;

  virtual ~DBConnector() = default;
};

} // namespace tarn::db
