// The environment's names for the tables.
#include "db/ArchiveTables.h"

#include "db/sqlIdentifier.h"
#include "base/environmentValue.h"

#include <utility>

namespace tarn::db
{
namespace
{

struct NamedByVariable
{
  const char* standard;
  const char* variable;
};

constexpr NamedByVariable kNamedByVariable[] = {
    {kObjectTable, "OBJECTTBL"},
    {kObjCacheTable, "QXOBJCACHETBL"},
    {kTargetTable, "TARGETTBL"},
    {kDeviceServiceTable, "DEVSERVTBL"},
};

} // namespace

ArchiveTables::ArchiveTables()
{
  for (const NamedByVariable& table : kNamedByVariable)
    if (std::string name = base::environmentValue(table.variable); !name.empty())
      renamed[table.standard] = std::move(name);
}

const std::string& ArchiveTables::rawName(const std::string& standard) const
{
  const auto found = renamed.find(standard);
  return found == renamed.end() ? standard : found->second;
}

std::string ArchiveTables::name(const std::string& standard) const
{
  return requireIdentifier(rawName(standard));
}

bool ArchiveTables::hasUsableName(const std::string& standard) const
{
  return isIdentifier(rawName(standard));
}

} // namespace tarn::db
