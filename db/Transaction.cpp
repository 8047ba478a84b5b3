// Changes that stand together.
#include "db/Transaction.h"

#include "db/DBConnectorSql.h"
#include "db/DBException.h"
#include "db/SqlSession.h"

namespace tarn::db
{

Transaction::Transaction(DBConnectorSql& db) : db(db)
{
  if (db.transactionOpen)
    throw DBException("a transaction is open already");
  db.session().begin();
  db.transactionOpen = true;
}

Transaction::~Transaction()
{
  if (!db.transactionOpen)
    return;
  db.transactionOpen = false;
  try
  {
    db.session().execute("ROLLBACK");
  }
  catch (const DBException&)
  {
    // The database has dropped the transaction already, or is lost, and drops it then.
  }
}

void Transaction::commit()
{
  db.session().execute("COMMIT");
  db.transactionOpen = false;
}

} // namespace tarn::db
