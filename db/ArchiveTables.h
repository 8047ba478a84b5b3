#pragma once

#include <map>
#include <string>

namespace tarn::db
{

constexpr char kObjectTable[] = "objects";                 ///< named by OBJECTTBL
constexpr char kObjCacheTable[] = "object_cache";          ///< named by QXOBJCACHETBL
constexpr char kTargetTable[] = "forward_targets";         ///< named by TARGETTBL
constexpr char kDeviceServiceTable[] = "forward_services"; ///< named by DEVSERVTBL

/// The names of the schema's tables. They come from the environment, which is read by the constructor; where a variable
/// is unset or empty, and for tables that no variable names, they are the standard names.
class ArchiveTables
{
public:
  ArchiveTables();

  /// Returns the name of the table whose standard name is `standard`. Throws DBException when it is no identifier.
  std::string name(const std::string& standard) const;
  /// Returns whether name() returns one.
  bool hasUsableName(const std::string& standard) const;

private:
  const std::string& rawName(const std::string& standard) const;

  std::map<std::string, std::string> renamed; ///< standard name to name
};

} // namespace tarn::db
