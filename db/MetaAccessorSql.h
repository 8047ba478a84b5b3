#pragma once

#include "db/MetaAccessor.h"

namespace tarn::db
{

class DBConnectorSql;

class MetaAccessorSql : public MetaAccessor
{
public:
  explicit MetaAccessorSql(DBConnectorSql& db) : db(db) {}

  [[nodiscard]] bool isMetaRequired(const std::string& studyUid) override;
  [[nodiscard]] bool getStudyObjectCount(const std::string& studyUid, int& count) override;

private:
  DBConnectorSql& db;
};

} // namespace tarn::db
