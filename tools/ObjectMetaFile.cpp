#include "tools/ObjectMetaFile.h"

#include "base/IMException.h"
#include "base/PartFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <numeric>

namespace tarn::tools
{
namespace
{

using imutils::IMException;
using Row = db::ObjMeta::Row;

/// The columns of the object table, in the order of valuesOf().
constexpr const char* kColumns[] = {"STUDYUID",  "FNAME",      "SOPCLASSUID", "SOPINSTUID",
                                    "SERIESUID", "IMGCOLUMNS", "IMGROWS",     "IMGFRAMES"};
constexpr char kNull[] = "<<NULL>>";

std::string numberText(const std::optional<int>& number)
{
  return number ? std::to_string(*number) : kNull;
}

/// None of them holds a character that URL encoding changes.
Row valuesOf(const StudyObject& object)
{
  return {object.studyUid,         object.name,
          object.sopClassUid,      object.sopInstanceUid,
          object.seriesUid,        numberText(object.columns),
          numberText(object.rows), numberText(object.frames)};
}

std::string lineOf(const Row& row)
{
  std::string line;
  for (const std::string& value : row)
    line += value + '\t';
  line.back() = '\n';
  return line;
}

[[noreturn]] void refuse(const std::string& path, const std::string& reason)
{
  throw IMException(path + ": " + reason + " (--replace writes it anew)");
}

} // namespace

ObjectMetaFile::ObjectMetaFile()
{
  meta.columns.assign(std::begin(kColumns), std::end(kColumns));
  std::iota(places.begin(), places.end(), 0);
}

void ObjectMetaFile::read(const std::string& path)
{
  db::ObjMeta found;
  bool missing = false;
  const db::ImportCode code = found.read(path, missing);
  if (missing)
    return;
  if (code != db::kImported)
    refuse(path, "cannot be read, import code " + std::to_string(code));
  meta = std::move(found);
  locateColumns(path);
}

void ObjectMetaFile::locateColumns(const std::string& path)
{
  for (std::size_t i = 0; i < kValues; ++i)
  {
    const auto place = std::find(meta.columns.begin(), meta.columns.end(), kColumns[i]);
    if (place == meta.columns.end())
      refuse(path, std::string("has no column ") + kColumns[i]);
    places[i] = static_cast<std::size_t>(place - meta.columns.begin());
  }
}

void ObjectMetaFile::put(const StudyObject& object)
{
  const auto [place, isNew] = meta.rows.try_emplace(object.name, meta.columns.size(), kNull);
  const Row before = place->second;
  const Row values = valuesOf(object);
  for (std::size_t i = 0; i < kValues; ++i)
    place->second[places[i]] = values[i];
  if (isNew)
    ++addedCount;
  else if (place->second != before)
    ++changedCount;
}

void ObjectMetaFile::write(const base::PartFile& file) const
{
  std::string text = std::to_string(size()) + '\n' + std::to_string(meta.columns.size()) + '\n' + lineOf(meta.columns);
  for (const auto& [name, row] : meta.rows)
    text += lineOf(row);
  if (!file.good() || !file.write(text.data(), text.size()) || !file.sync())
    throw IMException(file.path() + ": " + std::strerror(errno));
}

} // namespace tarn::tools
