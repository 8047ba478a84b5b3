// Puts objects into the rows of an object meta file.
#include "study/objectmeta/ObjMetaUpdate.h"

#include "base/IMException.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

namespace tarn::study
{
namespace
{

using imutils::IMException;

/// The columns of the object table, in the order of valuesOf().
constexpr const char* kColumns[] = {"STUDYUID",  ObjMeta::kKeyColumn, "SOPCLASSUID", "SOPINSTUID",
                                    "SERIESUID", "IMGCOLUMNS",        "IMGROWS",     "IMGFRAMES"};

std::string numberText(const std::optional<int>& number)
{
  return number ? std::to_string(*number) : ObjMeta::kNull;
}

/// None of the values holds a character that URL encoding changes.
ObjMeta::Row valuesOf(const StudyObject& object)
{
  return {object.studyUid,         object.name,
          object.sopClassUid,      object.sopInstanceUid,
          object.seriesUid,        numberText(object.columns),
          numberText(object.rows), numberText(object.frames)};
}

} // namespace

ObjMetaUpdate::ObjMetaUpdate()
{
  meta.columns.assign(std::begin(kColumns), std::end(kColumns));
  std::iota(places.begin(), places.end(), 0);
}

void ObjMetaUpdate::read(const std::string& path)
{
  ObjMeta found;
  const ImportCode code = found.read(path);
  if (code == ImportCode::missing)
    return;
  if (code != ImportCode::imported)
    throw IMException(path + ": cannot be read, import code " + std::to_string(static_cast<int>(code)));
  meta = std::move(found);
  for (std::size_t i = 0; i < kValues; ++i)
  {
    const auto place = std::find(meta.columns.begin(), meta.columns.end(), kColumns[i]);
    if (place == meta.columns.end())
      throw IMException(path + ": has no column " + kColumns[i]);
    places[i] = static_cast<std::size_t>(place - meta.columns.begin());
  }
}

void ObjMetaUpdate::put(const StudyObject& object)
{
  const auto [place, isNew] = meta.rows.try_emplace(object.name, meta.columns.size(), ObjMeta::kNull);
  const ObjMeta::Row before = place->second;
  const ObjMeta::Row values = valuesOf(object);
  for (std::size_t i = 0; i < kValues; ++i)
    place->second[places[i]] = values[i];
  if (isNew)
    ++added;
  else if (place->second != before)
    ++changed;
}

} // namespace tarn::study
