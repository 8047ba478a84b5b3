#pragma once

namespace tarn::db
{
class DBConnector;
}

namespace tarn::utils
{

/// The database connection during one operation, borrowed; null where there is none.
class MetaConn
{
public:
  explicit MetaConn(db::DBConnector* db) : db(db) {}

  db::DBConnector* connector() const { return db; }

private:
  db::DBConnector* db;
};

} // namespace tarn::utils
