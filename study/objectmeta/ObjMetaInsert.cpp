// Writes the rows of an object meta file into the object table.
#include "study/objectmeta/ObjMetaInsert.h"

#include "base/report.h"
#include "base/urlDecode.h"
#include "db/DBException.h"
#include "db/QueryBindings.h"
#include "db/TmpPSCache.h"
#include "db/sqlIdentifier.h"

#include <algorithm>
#include <set>

#include <strings.h>

namespace tarn::study
{
namespace
{

constexpr std::size_t kMostRows = 300;
constexpr std::size_t kMostValues = 65535;
constexpr char kReplacementCharacter[] = "%EF%BF%BD"; // U+FFFD, as it stands in the file

/// A server refuses a repeated column itself, with the same text; SQLite accepts the statement.
void refuseDoubledColumns(const ObjMeta::Row& columns)
{
  const auto isLess = [](const std::string& a, const std::string& b) { return strcasecmp(a.c_str(), b.c_str()) < 0; };
  std::set<std::string, decltype(isLess)> seen(isLess);
  for (const std::string& column : columns)
    if (!seen.insert(column).second)
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

void bindField(db::QueryBindings& bindings, std::size_t index, std::string& value)
{
  static const bool kSet = true;
  const bool isNull = value == ObjMeta::kNull;
  value = isNull ? std::string() : im::urlDecode(withoutReplacementCharacters(value));
  bindings.bindParam(static_cast<int>(index), MYSQL_TYPE_STRING, value.data(), value.size(), nullptr,
                     isNull ? &kSet : nullptr);
}

} // namespace

ObjMetaInsert::ObjMetaInsert(db::DBConnectorSql& db, const std::string& table, ObjMeta& meta)
  : db(db), meta(meta), head("INSERT INTO " + db::requireIdentifier(table) + "("), placeholders("(")
{
  for (const std::string& column : meta.columns)
  {
    head += db::requireIdentifier(column) + ",";
    placeholders += "?,";
  }
  head.back() = placeholders.back() = ')';
  head += " VALUES ";
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
      base::report("ObjCacheMgr PROBLEM: ", -static_cast<int>(ImportCode::rowsRanOut));
      return ImportCode::rowsRanOut;
    }
    left -= batch;
  }
  return ImportCode::imported;
}

bool ObjMetaInsert::insert(std::size_t batch, Position& next)
{
  std::string statement = head;
  for (std::size_t row = 0; row < batch; ++row)
    statement.append(row == 0 ? "" : ",").append(placeholders);
  statement += " ON DUPLICATE KEY UPDATE FNAME=FNAME";
  db::TmpPSCache cache(db, statement, static_cast<int>(meta.columns.size() * batch), 0);
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

} // namespace tarn::study
