#pragma once

namespace tarn::db
{

class DBConnectorSql;

/// All changes made while it lives stand together once commit() has succeeded, and are rolled back otherwise.
/// Transactions do not nest. On MySQL a statement that makes a table commits by itself.
class Transaction
{
public:
  /// Throws DBException when the transaction cannot start, or one is open already.
  explicit Transaction(DBConnectorSql& db);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  /// Throws DBException when the changes cannot be kept. They are rolled back then.
  void commit();

private:
  DBConnectorSql& db;
};

} // namespace tarn::db
