#pragma once

namespace tarn::db
{

class DBConnectorSql;

/// Which tables createTables() makes.
enum class Tables
{
  all,    ///< a DBException, and nothing is made, where the environment gives a name that is no identifier
  usable, ///< without those whose name is no identifier: whoever uses one of them fails then
};

/// Makes the tables of the archive that do not exist, under the names of ArchiveTables. Throws DBException.
void createTables(DBConnectorSql& db, Tables which);

} // namespace tarn::db
