#include "db/DBConnectorSql.h"

#include "db/DeviceAccessorSql.h"
#include "db/GlobalLock.h"
#include "db/MetaAccessorSql.h"
#include "db/ObjCacheAccessorSql.h"
#include "db/ObjectAccessorSql.h"
#include "db/ReferenceAccessorSql.h"
#include "db/SqlSession.h"
#include "db/SqlStatement.h"
#include "db/runStatement.h"

#include <algorithm>

namespace tarn::db
{

DBConnectorSql::DBConnectorSql(Missing missing)
  : ifMissing(missing), referenceAccessor(std::make_unique<ReferenceAccessorSql>(*this)),
    metaAccessor(std::make_unique<MetaAccessorSql>(*this)),
    objCacheAccessor(std::make_unique<ObjCacheAccessorSql>(*this)),
    objectAccessor(std::make_unique<ObjectAccessorSql>(*this)),
    deviceAccessor(std::make_unique<DeviceAccessorSql>(*this))
{
}

DBConnectorSql::~DBConnectorSql() = default;

SqlSession& DBConnectorSql::session()
{
  connect();
  return *backend;
}

std::vector<SqlRow> DBConnectorSql::run(const std::string& sql, const std::vector<SqlValue>& values)
{
  std::unique_ptr<SqlStatement>& statement = statements[sql];
  if (!statement)
    statement = session().prepare(sql);
  std::vector<SqlRow> rows;
  runStatement(*statement, values, [&](SqlRow& row) { rows.push_back(std::move(row)); });
  return rows;
}

bool DBConnectorSql::isInMemory()
{
  return session().isInMemory();
}

void DBConnectorSql::sync()
{
  session().sync();
}

std::shared_ptr<GlobalLock> DBConnectorSql::tryLock(const std::string& name)
{
  heldLocks.erase(
      std::remove_if(heldLocks.begin(), heldLocks.end(), [](const auto& held) { return held.second.expired(); }),
      heldLocks.end());
  for (const auto& [heldName, held] : heldLocks)
    if (heldName == name)
      return held.lock();
  std::shared_ptr<GlobalLock> taken = session().tryLock(name);
  if (taken)
    heldLocks.emplace_back(name, taken);
  return taken;
}

} // namespace tarn::db
