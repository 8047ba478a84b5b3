#pragma once

#include "db/MetaAccessor.h"
#include "db/PSCache.h"

namespace tarn::db
{

class MetaAccessorSql : public MetaAccessor, private PSCache
{
public:
  explicit MetaAccessorSql(DBConnectorSql& db);

  [[nodiscard]] bool isMetaRequired(const std::string& studyUid) override;
  [[nodiscard]] bool getStudyObjectCount(const std::string& studyUid, int& count) override;

private:
  PsQuery requirement;
  PsQuery objectCount;
};

} // namespace tarn::db
