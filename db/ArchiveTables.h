#pragma once

#include <map>
#include <string>

namespace tarn::db
{

constexpr char kObjectTable[] = "objects";                 ///< named by OBJECTTBL
constexpr char kObjCacheTable[] = "object_cache";          ///< named by QXOBJCACHETBL
constexpr char kTargetTable[] = "forward_targets";         ///< named by TARGETTBL
constexpr char kDeviceServiceTable[] = "forward_services"; ///< named by DEVSERVTBL

/// What the tables of the schema are called here: the environment's names, read when this is made; the standard names
/// where a variable is unset or empty, and for the tables that no variable names.
class ArchiveTables
{
public:
  ArchiveTables();

  /// The name of the table with the standard name `standard`; throws DBException when it is no identifier.
  std::string name(const std::string& standard) const;
  /// Whether name() gives one.
  bool hasUsableName(const std::string& standard) const;

private:
  const std::string& rawName(const std::string& standard) const;

  std::map<std::string, std::string> renamed; ///< standard name to name
};

} // namespace tarn::db
