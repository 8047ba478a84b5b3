#pragma once

#include "SqlSession.h"

namespace tarn::db
{

struct MysqlAddress;

/// Connects to a MySQL or MariaDB server. The connection is never renewed, its session refuses what does not fit a
/// column, and takes and gives times in UTC. Throws DBException with the library's text.
std::unique_ptr<SqlSession> openMysql(const MysqlAddress& address);

} // namespace tarn::db
