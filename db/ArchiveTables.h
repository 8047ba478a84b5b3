#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::db
{

constexpr char kObjectTable[] = "objects";                 ///< named by OBJECTTBL
constexpr char kObjCacheTable[] = "object_cache";          ///< named by QXOBJCACHETBL
constexpr char kTargetTable[] = "forward_targets";         ///< named by TARGETTBL
constexpr char kDeviceServiceTable[] = "forward_services"; ///< named by DEVSERVTBL

/// Which tables are made.
enum class Tables
{
  all,    ///< a DBException, and nothing is made, where the environment gives a name that is no identifier
  usable, ///< without those whose name is no identifier: whoever uses one of them fails then
};

/// The names of the schema's tables. They come from the environment, which is read by the constructor; where a variable
/// is unset or empty, and for tables that no variable names, they are the standard names.
class ArchiveTables
{
public:
  ArchiveTables();

  /// Returns the name of the table whose standard name is `standard`. Throws DBException when it is no identifier.
  std::string name(const std::string& standard) const;
  /// Returns the statements of `schema`, which makes the tables under their standard names, with these names. Throws as
  /// name() does.
  std::vector<std::string> statements(std::string_view schema, Tables which) const;

private:
  const std::string& rawName(const std::string& standard) const;

  std::map<std::string, std::string> renamed; ///< standard name to name
};

} // namespace tarn::db
