#pragma once

namespace tarn::db
{

class DBConnectorSql;

/// All changes made while it lives stand together when commit() succeeded, and are rolled back otherwise.
/// Transactions do not nest. Statements that make tables are outside of it on MySQL, which commits by itself then.
class Transaction
{
public:
  /// Throws DBException when it cannot start, or one is open.
  explicit Transaction(DBConnectorSql& db);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  /// Throws DBException when the changes could not be made to stand; they are rolled back then.
  void commit();

private:
  DBConnectorSql& db;
};

} // namespace tarn::db
