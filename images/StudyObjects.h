#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>

#include "db/DBConnector.h"
#include "db/ObjectAccessor.h"

namespace tarn::images
{

/// The object table's rows of one study as one run sees them: an object that was asked for is not asked for again, even
/// when it has no row.
class StudyObjects
{
public:
  /// The number of objects that are remembered, in less than 2 MB. One more, and all are forgotten.
  static constexpr std::size_t kMostRemembered = 4096;

  /// Borrows `db`.
  StudyObjects(db::DBConnector& db, std::string studyUid);

  /// Returns the row of the object `name` ("CT.1.2.3"), which is valid until the next call; null when there is none.
  /// Throws DBException; a failure is not remembered.
  const db::ObjectRecord* find(const std::string& name);

private:
  db::DBConnector& db;
  std::string studyUid;
  std::unordered_map<std::string, std::optional<db::ObjectRecord>> remembered;
};

} // namespace tarn::images
