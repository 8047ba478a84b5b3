#pragma once

#include "db/ObjCacheAccessor.h"
#include "db/PSCache.h"

namespace tarn::db
{

class ObjCacheAccessorSql : public ObjCacheAccessor, private PSCache
{
public:
  explicit ObjCacheAccessorSql(DBConnectorSql& db);

  [[nodiscard]] bool isObjCacheValid(const std::string& studyUid) override;
  [[nodiscard]] bool getObjCacheEntry(const std::string& studyUid, int mode, ObjCacheEntry& entry) override;
  void setObjCacheStatus(const std::string& studyUid, int status) override;
  void listObjCacheFiles(const std::string& studyUid, std::list<std::string>& files) override;

private:
  PsQuery entryOfStudy;
  PsQuery putEntry;
  PsQuery filesOfStudy;
};

} // namespace tarn::db
