// The format of the object meta file: how it is read and how it is written.
#include "study/objectmeta/ObjMeta.h"

#include "base/files.h"
#include "base/text.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <optional>
#include <utility>

namespace tarn::study
{
namespace
{

/// Cuts the first line off `rest` and returns it without its newline, which the last line may lack.
std::optional<std::string_view> nextLine(std::string_view& rest)
{
  if (rest.empty())
    return std::nullopt;
  const std::string_view line = rest.substr(0, rest.find('\n'));
  rest.remove_prefix(std::min(line.size() + 1, rest.size()));
  return line;
}

/// The number that `line` begins with, as sscanf's "%d" reads it; nothing for one below `least` and for one that an int
/// cannot hold.
std::optional<long> numberFrom(long least, std::string_view line)
{
  const std::string text(line);
  char* end = nullptr;
  errno = 0;
  const long value = std::strtol(text.c_str(), &end, 10);
  const bool inRange = errno == 0 && value >= least && value <= INT_MAX;
  return end != text.c_str() && inRange ? std::optional<long>(value) : std::nullopt;
}

std::string lineOf(const ObjMeta::Row& row)
{
  std::string line;
  for (const std::string& value : row)
    line += value + '\t';
  line.back() = '\n';
  return line;
}

} // namespace

ImportCode ObjMeta::read(const std::string& path)
{
  std::string content;
  try
  {
    content = base::RegularFile(path).content();
  }
  catch (const base::FileError& failure)
  {
    return failure.code == ENOENT ? ImportCode::missing : ImportCode::metaFileUnreadable;
  }
  std::string_view rest = content;
  const ImportCode code = readHeader(rest);
  return code == ImportCode::imported ? readRows(rest) : code;
}

ImportCode ObjMeta::readHeader(std::string_view& rest)
{
  const auto objectCount = nextLine(rest);
  if (!objectCount)
    return ImportCode::noObjectCountLine;
  if (!numberFrom(0, *objectCount))
    return ImportCode::badObjectCountLine;
  const auto columnCount = nextLine(rest);
  if (!columnCount)
    return ImportCode::noColumnCountLine;
  const auto expected = numberFrom(1, *columnCount);
  if (!expected)
    return ImportCode::badColumnCountLine;
  const auto names = nextLine(rest);
  if (!names)
    return ImportCode::noColumnLine;
  base::split3<Row, '\t'>(*names, columns);
  return columns.size() == static_cast<std::size_t>(*expected) ? ImportCode::imported : ImportCode::wrongColumnCount;
}

ImportCode ObjMeta::readRows(std::string_view rest)
{
  const auto last = std::find(columns.rbegin(), columns.rend(), kKeyColumn);
  if (last == columns.rend())
    return ImportCode::noKeyColumn;
  key = static_cast<std::size_t>(columns.rend() - last) - 1;
  while (const auto line = nextLine(rest))
    if (!addRow(*line))
      return ImportCode::badRow;
  return ImportCode::imported;
}

bool ObjMeta::addRow(std::string_view line)
{
  Row row;
  row.reserve(columns.size());
  base::split3<Row, '\t'>(line, row);
  if (line.empty() || line.back() == '\t')
    row.emplace_back(); // an empty last field, which split3 drops
  if (row.size() != columns.size())
    return false;
  const auto [place, isNew] = rows.try_emplace(row[key]);
  place->second = std::move(row);
  rowCount += isNew ? 1 : 0;
  return true;
}

std::string ObjMeta::text() const
{
  std::string text = std::to_string(rows.size()) + '\n' + std::to_string(columns.size()) + '\n' + lineOf(columns);
  for (const auto& [name, row] : rows)
    text += lineOf(row);
  return text;
}

} // namespace tarn::study
