// The forwarding tables.
#include "db/DeviceAccessorSql.h"

#include "db/DBConnectorSql.h"
#include "db/sqlIdentifier.h"

namespace tarn::db
{

void DeviceAccessorSql::listAutoForwardDevices(const std::string& targetTable, const std::string& serviceTable,
                                               std::list<DeviceRecord>& devices)
{
  const auto rows = db.query("SELECT T.DEVNAME,T.DEVTYPE FROM " + requireIdentifier(targetTable) +
                             " T WHERE EXISTS (SELECT S.SERVICE FROM " + requireIdentifier(serviceTable) +
                             " S WHERE S.DEVNAME=T.DEVNAME AND S.AUTOFORWARD<>0) ORDER BY T.DEVNAME");
  for (const SqlRow& row : rows)
    devices.push_back({row.text(0), row.text(1).empty() ? '\0' : row.text(1).front()});
}

} // namespace tarn::db
