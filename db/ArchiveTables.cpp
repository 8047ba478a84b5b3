// The environment's names for the tables.
#include "db/ArchiveTables.h"

#include "base/environmentValue.h"
#include "db/sqlIdentifier.h"

#include <utility>

namespace tarn::db
{
namespace
{

/// The standard name of a table, and the variable that gives another.
constexpr std::pair<const char*, const char*> kVariables[] = {
    {kObjectTable, "OBJECTTBL"},
    {kObjCacheTable, "QXOBJCACHETBL"},
    {kTargetTable, "TARGETTBL"},
    {kDeviceServiceTable, "DEVSERVTBL"},
};

} // namespace

ArchiveTables::ArchiveTables()
{
  for (const auto& [standard, variable] : kVariables)
    if (std::string name = base::environmentValue(variable); !name.empty())
      renamed[standard] = std::move(name);
}

std::string ArchiveTables::name(const std::string& standard) const
{
  return requireIdentifier(rawName(standard));
}

std::vector<std::string> ArchiveTables::statements(std::string_view schema, Tables which) const
{
  constexpr std::string_view kStart = "CREATE TABLE IF NOT EXISTS ";
  std::vector<std::string> texts;
  for (auto start = schema.find(kStart); start != std::string_view::npos; start = schema.find(kStart, start))
  {
    start += kStart.size();
    const auto nameEnd = schema.find_first_of(" \n(", start);
    const std::string standard(schema.substr(start, nameEnd - start));
    if (which == Tables::all || isIdentifier(rawName(standard)))
      texts.push_back(std::string(kStart)
                          .append(name(standard))
                          .append(schema.substr(nameEnd, schema.find(';', nameEnd) - nameEnd)));
  }
  return texts;
}

const std::string& ArchiveTables::rawName(const std::string& standard) const
{
  const auto found = renamed.find(standard);
  return found == renamed.end() ? standard : found->second;
}

} // namespace tarn::db
