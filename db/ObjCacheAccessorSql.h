#pragma once

#include "db/ObjCacheAccessor.h"

namespace tarn::db
{

class DBConnectorSql;

class ObjCacheAccessorSql : public ObjCacheAccessor
{
public:
  explicit ObjCacheAccessorSql(DBConnectorSql& db) : db(db) {}

  [[nodiscard]] bool isObjCacheValid(const std::string& studyUid) override;
  [[nodiscard]] bool getObjCacheEntry(const std::string& studyUid, int mode, ObjCacheEntry& entry) override;
  void setObjCacheStatus(const std::string& studyUid, int status) override;
  void listObjCacheFiles(const std::string& studyUid, std::list<std::string>& files) override;

private:
  DBConnectorSql& db;
};

} // namespace tarn::db
