#pragma once

#include <string>

namespace tarn::db
{

/// What the table `studies` says of a study.
class MetaAccessor
{
public:
  /// Returns whether a missing object meta file is an error for the study. It is none for a study without a row.
  [[nodiscard]] virtual bool isMetaRequired(const std::string& studyUid) = 0;
  /// Reads the number of objects of the study. Returns false, with `count` unchanged, for a study without a row.
  [[nodiscard]] virtual bool getStudyObjectCount(const std::string& studyUid, int& count) = 0;

  virtual ~MetaAccessor() = default;
};

} // namespace tarn::db
