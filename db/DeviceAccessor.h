#pragma once

#include <list>
#include <string>

namespace tarn::db
{

/// A device that studies can be forwarded to.
struct DeviceRecord
{
  std::string name;
  char type = '\0'; ///< a one-letter code: 'P' and 'C' take part in forwarding
};

/// The tables named by TARGETTBL and DEVSERVTBL.
class DeviceAccessor
{
public:
  /// Appends every device that is marked for auto-forward, ordered by name as bytes. Throws DBException for
  /// a table name that is no identifier ([A-Za-z_][A-Za-z0-9_]*).
  virtual void listAutoForwardDevices(const std::string& targetTable, const std::string& serviceTable,
                                      std::list<DeviceRecord>& devices) = 0;

  virtual ~DeviceAccessor() = default;
};

} // namespace tarn::db
