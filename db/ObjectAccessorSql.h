#pragma once

#include "db/ObjectAccessor.h"
#include "db/PSCache.h"

namespace tarn::db
{

class ObjectAccessorSql : public ObjectAccessor, private PSCache
{
public:
  explicit ObjectAccessorSql(DBConnectorSql& db);

  [[nodiscard]] bool findObject(const std::string& studyUid, const std::string& objectName,
                                ObjectRecord& record) override;

private:
  PsQuery find;
};

} // namespace tarn::db
