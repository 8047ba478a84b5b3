#pragma once

#include "db/ReferenceAccessor.h"
#include "db/PSCache.h"

namespace tarn::db
{

class ReferenceAccessorSql : public ReferenceAccessor, private PSCache
{
public:
  explicit ReferenceAccessorSql(DBConnectorSql& db);

  [[nodiscard]] bool hasReference(const std::string& key, const std::string& kind, const std::string& name) override;
  void addReference(const std::string& key, const std::string& kind, const std::string& name) override;

private:
  PsQuery find;
  PsQuery add;
};

} // namespace tarn::db
