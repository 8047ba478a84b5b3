#pragma once

#include "db/ObjectAccessor.h"

namespace tarn::db
{

class DBConnectorSql;

class ObjectAccessorSql : public ObjectAccessor
{
public:
  explicit ObjectAccessorSql(DBConnectorSql& db) : db(db) {}

  [[nodiscard]] bool findObject(const std::string& studyUid, const std::string& objectName,
                                ObjectRecord& record) override;

private:
  DBConnectorSql& db;
};

} // namespace tarn::db
