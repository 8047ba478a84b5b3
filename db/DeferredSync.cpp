#include "db/DeferredSync.h"

#include "db/DBConnectorSql.h"
#include "db/SqlSession.h"

namespace tarn::db
{

DeferredSync::DeferredSync(DBConnectorSql& connector) : db(connector)
{
  db.session().deferSync(true);
}

DeferredSync::~DeferredSync()
{
  db.session().deferSync(false);
}

} // namespace tarn::db
