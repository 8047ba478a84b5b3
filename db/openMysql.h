#pragma once

#include <memory>

namespace tarn::db
{

struct MysqlAddress;
class SqlSession;

/// Loads the module of the MySQL backend, which stays loaded, and connects through it as `annomend_open_mysql` does.
/// Throws DBException, also where the module is not installed.
std::unique_ptr<SqlSession> openMysql(const MysqlAddress& address);

} // namespace tarn::db
