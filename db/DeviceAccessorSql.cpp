#include "db/DeviceAccessorSql.h"

#include "db/PSCache.h"
#include "db/QueryBindings.h"
#include "db/sqlIdentifier.h"

namespace tarn::db
{
namespace
{

/// The one query of a listing: its tables are known at run time only.
class DeviceQuery : public PSCache
{
public:
  DeviceQuery(DBConnectorSql& db, const std::string& targets, const std::string& services)
    : PSCache(db), list(
                       [&targets, &services]
                       {
                         return "SELECT T.DEVNAME,T.DEVTYPE FROM " + requireIdentifier(targets) +
                                " T WHERE EXISTS (SELECT S.SERVICE FROM " + requireIdentifier(services) +
                                " S WHERE S.DEVNAME=T.DEVNAME AND S.AUTOFORWARD<>0) ORDER BY T.DEVNAME";
                       },
                       0, 2)
  {
    registerQuery(list);
    init();
  }

  void appendTo(std::list<DeviceRecord>& devices)
  {
    const auto bindings = list.mkBindings();
    executeQuery(list, *bindings,
                 [&]
                 {
                   const std::string& type = bindings->text(1);
                   devices.push_back({bindings->text(0), type.empty() ? '\0' : type.front()});
                 });
  }

private:
  PsQuery list;
};

} // namespace

void DeviceAccessorSql::listAutoForwardDevices(const std::string& targetTable, const std::string& serviceTable,
                                               std::list<DeviceRecord>& devices)
{
  DeviceQuery(db, targetTable, serviceTable).appendTo(devices);
}

} // namespace tarn::db
