#pragma once

#include "db/DeviceAccessor.h"
#include "db/MetaAccessor.h"
#include "db/ObjCacheAccessor.h"
#include "db/ObjectAccessor.h"
#include "db/ReferenceAccessor.h"

namespace tarn::db
{

class DBConnectorSql;

/// All accessors of one connection.
class SqlAccessors : public ReferenceAccessor,
                     public MetaAccessor,
                     public ObjCacheAccessor,
                     public ObjectAccessor,
                     public DeviceAccessor
{
public:
  explicit SqlAccessors(DBConnectorSql& db) : db(db) {}

  [[nodiscard]] bool hasReference(const std::string& key, const std::string& kind, const std::string& name) override;
  void addReference(const std::string& key, const std::string& kind, const std::string& name) override;

  [[nodiscard]] bool isMetaRequired(const std::string& studyUid) override;
  [[nodiscard]] bool getStudyObjectCount(const std::string& studyUid, int& count) override;

  [[nodiscard]] bool isObjCacheValid(const std::string& studyUid) override;
  [[nodiscard]] bool getObjCacheEntry(const std::string& studyUid, int mode, ObjCacheEntry& entry) override;
  void setObjCacheStatus(const std::string& studyUid, int status) override;
  void listObjCacheFiles(const std::string& studyUid, std::list<std::string>& files) override;

  [[nodiscard]] bool findObject(const std::string& studyUid, const std::string& objectName,
                                ObjectRecord& record) override;

  void listAutoForwardDevices(const std::string& targetTable, const std::string& serviceTable,
                              std::list<DeviceRecord>& devices) override;

private:
  DBConnectorSql& db;
};

} // namespace tarn::db
