#pragma once

#include "db/SqlValue.h"

#include <mysql.h> // enum_field_types

#include <vector>

namespace tarn::db
{

enum class SignedFlag
{
  Signed,
  Unsigned
};

/// The values that go into a statement. Parameters count from 0; an index that is out
/// of range, and a parameter that was not bound when the statement runs, is a DBException.
class QueryBindings
{
public:
  /// `results` is what callers pass, and has no effect.
  QueryBindings(int params, int results);

  /// Binds `buffer`, which is read when the statement runs, and borrowed until then, as are `length` and `isNull`.
  /// Types: the character and blob types (`length` bytes, or `bufferLength` when `length` is null), TINY, SHORT, LONG
  /// and LONGLONG (1, 2, 4 and 8 bytes in the machine's order), NULL. A true `isNull` makes it NULL. A statement with a
  /// value of another type, or an unsigned number above 2^63 - 1, is refused with a DBException when it runs.
  void bindParam(int index, enum_field_types type, const void* buffer, unsigned long bufferLength,
                 const unsigned long* length = nullptr, const bool* isNull = nullptr,
                 SignedFlag sign = SignedFlag::Signed);

  /// What the statement is to be given now.
  std::vector<SqlValue> values() const;

private:
  struct Param
  {
    bool bound = false;
    enum_field_types type = MYSQL_TYPE_NULL;
    const void* buffer = nullptr;
    unsigned long bufferLength = 0;
    const unsigned long* length = nullptr;
    const bool* isNull = nullptr;
    SignedFlag sign = SignedFlag::Signed;
  };
  static SqlValue value(const Param& param);

  std::vector<Param> params;
};

} // namespace tarn::db
