#include "study/objectmeta/ObjMetaInsert.h"

#include "base/report.h"
#include "db/sqlIdentifier.h"
#include "db/DBException.h"
#include "db/QueryBindings.h"
#include "db/TmpPSCache.h"
#include "base/urlDecode.h"

#include <algorithm>
#include <set>

namespace tarn::db
{
namespace
{

constexpr std::size_t kMostRows = 300;
constexpr std::size_t kMostValues = 65535;
constexpr char kNull[] = "<<NULL>>";
constexpr char kReplacementCharacter[] = "%EF%BF%BD"; // U+FFFD, as it stands in the file

/// A server refuses them by itself, in the same words; SQLite takes the statement.
void refuseDoubledColumns(const ObjMeta::Row& columns)
{
  const auto inCapitals = [](std::string name)
  {
    for (char& c : name)
      c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    return name;
  };
  std::set<std::string> seen;
  for (const std::string& column : columns)
    if (!seen.insert(inCapitals(column)).second)
      throw db::DBException("cannot prepare a statement: Column '" + column + "' specified twice");
}

std::string withoutReplacementCharacters(const std::string& text)
{
  constexpr std::size_t length = sizeof kReplacementCharacter - 1;
  std::string result;
  std::size_t start = 0;
  for (std::size_t found = 0; (found = text.find(kReplacementCharacter, start)) != std::string::npos;
       start = found + length)
    result.append(text, start, found - start).push_back('?');
  return result.append(text, start);
}

void bindField(QueryBindings& bindings, std::size_t index, std::string& value)
{
  static const bool kIsNull[] = {false, true};
  const bool isNull = value == kNull;
  value = isNull ? std::string() : im::urlDecode(withoutReplacementCharacters(value));
  bindings.bindParam(static_cast<int>(index), MYSQL_TYPE_STRING, value.data(), value.size(), nullptr,
                     &kIsNull[isNull ? 1 : 0]);
}

} // namespace

ObjMetaInsert::ObjMetaInsert(DBConnectorSql& connector, const std::string& table, ObjMeta& content)
  : db(connector), meta(content), head("INSERT INTO " + requireIdentifier(table) + "("), placeholders("(")
{
  const char* separator = "";
  for (const std::string& column : meta.columns)
  {
    head.append(separator).append(requireIdentifier(column));
    placeholders.append(separator).append("?");
    separator = ",";
  }
  head += ") VALUES ";
  placeholders += ")";
}

ImportCode ObjMetaInsert::run()
{
  if (meta.rowCount > 0)
    refuseDoubledColumns(meta.columns);
  const std::size_t fitting = std::max<std::size_t>(1, kMostValues / meta.columns.size());
  Position next = meta.rows.begin();
  for (std::size_t left = meta.rowCount; left > 0;)
  {
    const std::size_t batch = std::min({kMostRows, fitting, left});
    if (!insert(batch, next))
    {
      base::report("ObjCacheMgr PROBLEM: ", -kRowsRanOut);
      return kRowsRanOut;
    }
    left -= batch;
  }
  return kImported;
}

bool ObjMetaInsert::insert(std::size_t batch, Position& next)
{
  TmpPSCache cache(db, statement(batch), static_cast<int>(meta.columns.size() * batch), 0);
  const auto bindings = cache.query().mkBindings();
  std::size_t index = 0;
  for (std::size_t row = 0; row < batch; ++row, ++next)
  {
    if (next == meta.rows.end())
      return false;
    for (std::string& value : next->second)
      bindField(*bindings, index++, value);
  }
  cache.executeUpdate(cache.query(), *bindings, true);
  return true;
}

std::string ObjMetaInsert::statement(std::size_t batch) const
{
  std::string text = head;
  for (std::size_t row = 0; row < batch; ++row)
    text.append(row == 0 ? "" : ",").append(placeholders);
  return text + " ON DUPLICATE KEY UPDATE FNAME=FNAME";
}

} // namespace tarn::db
