#pragma once

#include "db/DBConnector.h"
#include "db/ObjectAccessor.h"

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>

namespace impsconverter
{

/// The object table's rows of one study as one run sees them: an object that was asked for, also one without a row, is
/// not asked for again.
class StudyObjects
{
public:
  /// Up to so many objects are remembered, which takes less than 2 MB; one more, and all are forgotten.
  static constexpr std::size_t kMostRemembered = 4096;

  /// `db` is borrowed; `study` is the Study Instance UID.
  StudyObjects(tarn::db::DBConnector& db, std::string study);

  /// The row of the object `name` ("CT.1.2.3"), good until the next call; null when there is none. Throws DBException;
  /// a failure is not remembered.
  const tarn::db::ObjectRecord* find(const std::string& name);

private:
  tarn::db::DBConnector& db;
  std::string study;
  std::unordered_map<std::string, std::optional<tarn::db::ObjectRecord>> remembered;
};

} // namespace impsconverter
