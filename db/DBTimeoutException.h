#pragma once

#include "db/DBException.h"

namespace tarn::db
{

/// Others have held the database for longer than this connection waits. Nothing is wrong with the statement or with
/// what it was to change: the same may succeed later.
class DBTimeoutException : public DBException
{
public:
  using DBException::DBException;
};

} // namespace tarn::db
