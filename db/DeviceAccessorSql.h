#pragma once

#include "db/DeviceAccessor.h"

namespace tarn::db
{

class DBConnectorSql;

class DeviceAccessorSql : public DeviceAccessor
{
public:
  explicit DeviceAccessorSql(DBConnectorSql& db) : db(db) {}

  void listAutoForwardDevices(const std::string& targetTable, const std::string& serviceTable,
                              std::list<DeviceRecord>& devices) override;

private:
  DBConnectorSql& db;
};

} // namespace tarn::db
