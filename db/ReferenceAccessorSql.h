#pragma once

#include "db/ReferenceAccessor.h"

namespace tarn::db
{

class DBConnectorSql;

class ReferenceAccessorSql : public ReferenceAccessor
{
public:
  explicit ReferenceAccessorSql(DBConnectorSql& db) : db(db) {}

  [[nodiscard]] bool hasReference(const std::string& key, const std::string& kind, const std::string& name) override;
  void addReference(const std::string& key, const std::string& kind, const std::string& name) override;

private:
  DBConnectorSql& db;
};

} // namespace tarn::db
