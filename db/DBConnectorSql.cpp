// One connection to the database, on any backend.
#include "db/DBConnectorSql.h"

#include "base/IMLogger.h"
#include "base/environmentValue.h"
#include "db/DBException.h"
#include "db/SqlSession.h"
#include "db/SqlStatement.h"
#include "db/databaseUrl.h"
#include "db/openSession.h"
#include "db/sqlite/SqliteSession.h"

namespace tarn::db
{

std::unique_ptr<DBConnector> DBConnector::createConnector(int connection)
{
  if (connection != 0)
    throw DBException("there is no connection " + std::to_string(connection));
  return DBConnectorSql::open(Missing::refuse);
}

DBConnectorSql::DBConnectorSql(Missing missing) : missing(missing) {}

DBConnectorSql::~DBConnectorSql() = default;

std::unique_ptr<DBConnectorSql> DBConnectorSql::open(Missing missing)
{
  auto db = std::make_unique<DBConnectorSql>(missing);
  db->connect();
  return db;
}

void DBConnectorSql::connect()
{
  if (backend)
    return;
  const std::string url = base::environmentValue("TARN_DB_URL");
  const std::string file = url.empty() ? defaultDatabaseFile() : "";
  try
  {
    backend = url.empty() ? openSqlite(file, true) : openSession(url, missing);
    if (const std::string exposure = backend->exposure(); !exposure.empty())
      imutils::IMLogger("DBConnector").infoLog("%s", exposure.c_str());
    if (url.empty() || url == std::string(kSqliteScheme) + kSqliteInMemory) // nobody else makes its tables
      createTables(Tables::usable);
  }
  catch (const DBException& failure)
  {
    backend.reset();
    throw DBException("cannot open database " + (url.empty() ? kSqliteScheme + file : withoutPassword(url)) + ": " +
                      failure.what());
  }
}

SqlSession& DBConnectorSql::session()
{
  connect();
  return *backend;
}

void DBConnectorSql::requireUsable(bool forWriting)
{
  session().requireUsable(forWriting);
}

std::vector<SqlRow> DBConnectorSql::run(const std::string& sql, const std::vector<SqlValue>& values)
{
  std::unique_ptr<SqlStatement>& statement = statements[sql];
  if (!statement)
    statement = session().prepare(sql);
  return statement->run(values);
}

void DBConnectorSql::createTables(Tables which)
{
  for (const std::string& text : tableNames.statements(session().schema(), which))
    session().execute(text);
}

GlobalLock DBConnectorSql::tryLock(const std::string& name)
{
  heldLocks.remove_if([](const auto& held) { return held.second.expired(); });
  for (const auto& [heldName, held] : heldLocks)
    if (heldName == name)
      return held.lock();
  GlobalLock taken = session().tryLock(name);
  if (taken)
    heldLocks.emplace_back(name, taken);
  return taken;
}

} // namespace tarn::db
