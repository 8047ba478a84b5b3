#pragma once

namespace tarn::db
{

class DBConnectorSql;

/// Which tables createTables() makes.
enum class Tables
{
  all,    ///< a name of the environment that is no identifier is a DBException, and nothing is made
  usable, ///< leaves out those whose name is no identifier; whoever uses them fails then
};

/// Makes the tables of the archive, under the names that ArchiveTables gives, where they do not exist; nothing changes
/// where they do. Throws DBException.
void createTables(DBConnectorSql& db, Tables which);

} // namespace tarn::db
