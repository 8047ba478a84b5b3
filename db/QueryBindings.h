#pragma once

#include "db/SqlStatement.h"
#include "db/SqlValue.h"

#include <mysql.h> // enum_field_types

#include <string>
#include <vector>

namespace tarn::db
{

enum class SignedFlag
{
  Signed,
  Unsigned
};

/// The values that go into a statement and the row that comes out of it. Indexes count from 0; one that is out of
/// range, and a parameter that was not bound when the statement runs, is a DBException.
class QueryBindings
{
public:
  QueryBindings(int params, int results);

  /// Binds `buffer`, which is read when the statement runs, and borrowed until then, as are `length` and `isNull`.
  /// Types: the character and blob types (`length` bytes, or `bufferLength` when `length` is null), TINY, SHORT, LONG
  /// and LONGLONG (1, 2, 4 and 8 bytes in the machine's order), NULL. Other types, and unsigned numbers above 2^63 - 1,
  /// are refused with a DBException. A true `isNull` makes it NULL.
  void bindParam(int index, enum_field_types type, const void* buffer, unsigned long bufferLength,
                 const unsigned long* length = nullptr, const bool* isNull = nullptr,
                 SignedFlag sign = SignedFlag::Signed);
  /// Binds the bytes of `text`, borrowed until the statement has run.
  void bindText(int index, const std::string& text);
  void bindText(int index, std::string&& text) = delete;
  /// Binds a copy of `number`.
  void bindNumber(int index, long long number);

  /// What the statement is to be given now.
  std::vector<SqlValue> values() const;

  /// The row fetched last: whether a column is NULL, its bytes (empty for NULL), its number (0 for NULL; a DBException
  /// when it is no number of 32 bits).
  bool isNull(int column) const;
  const std::string& text(int column) const;
  int number(int column) const;
  SqlRow& row() { return results; }

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
    long long ownNumber = 0; ///< what is bound when there is no buffer for a number
  };
  static SqlValue value(const Param& param);
  Param& param(int index);

  std::vector<Param> params;
  SqlRow results;
};

} // namespace tarn::db
