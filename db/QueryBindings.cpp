#include "db/QueryBindings.h"

#include "db/DBException.h"

#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>

namespace tarn::db
{
namespace
{

enum class Kind
{
  null,
  number,
  bytes,
  unsupported
};

Kind kindOf(enum_field_types type)
{
  switch (type)
  {
  case MYSQL_TYPE_NULL:
    return Kind::null;
  case MYSQL_TYPE_TINY:
  case MYSQL_TYPE_SHORT:
  case MYSQL_TYPE_LONG:
  case MYSQL_TYPE_LONGLONG:
    return Kind::number;
  case MYSQL_TYPE_STRING:
  case MYSQL_TYPE_VAR_STRING:
  case MYSQL_TYPE_VARCHAR:
  case MYSQL_TYPE_TINY_BLOB:
  case MYSQL_TYPE_BLOB:
  case MYSQL_TYPE_MEDIUM_BLOB:
  case MYSQL_TYPE_LONG_BLOB:
    return Kind::bytes;
  default:
    return Kind::unsupported;
  }
}

template <class Number>
Number load(const void* buffer)
{
  Number number;
  std::memcpy(&number, buffer, sizeof number);
  return number;
}

template <class Signed, class Unsigned>
long long loadNumber(const void* buffer, SignedFlag sign)
{
  if (sign == SignedFlag::Signed)
    return load<Signed>(buffer);
  const auto number = load<Unsigned>(buffer);
  if (static_cast<std::uint64_t>(number) > static_cast<std::uint64_t>(std::numeric_limits<long long>::max()))
    throw DBException("the number " + std::to_string(number) + " is too large to be bound");
  return static_cast<long long>(number);
}

long long loadNumber(enum_field_types type, const void* buffer, SignedFlag sign)
{
  switch (type)
  {
  case MYSQL_TYPE_TINY:
    return loadNumber<std::int8_t, std::uint8_t>(buffer, sign);
  case MYSQL_TYPE_SHORT:
    return loadNumber<std::int16_t, std::uint16_t>(buffer, sign);
  case MYSQL_TYPE_LONG:
    return loadNumber<std::int32_t, std::uint32_t>(buffer, sign);
  default:
    return loadNumber<std::int64_t, std::uint64_t>(buffer, sign);
  }
}

std::string_view bytesOf(const void* buffer, std::size_t length)
{
  return length == 0 ? std::string_view("") : std::string_view(static_cast<const char*>(buffer), length);
}

[[noreturn]] void refuseIndex(const char* what, int index)
{
  throw DBException("there is no " + std::string(what) + " " + std::to_string(index));
}

const std::optional<std::string>& columnAt(const SqlRow& row, int column)
{
  if (column < 0 || static_cast<std::size_t>(column) >= row.size())
    refuseIndex("result column", column);
  return row[static_cast<std::size_t>(column)];
}

} // namespace

QueryBindings::QueryBindings(int paramCount, int resultCount)
  : params(static_cast<std::size_t>(paramCount)), results(static_cast<std::size_t>(resultCount))
{
}

QueryBindings::Param& QueryBindings::param(int index)
{
  if (index < 0 || static_cast<std::size_t>(index) >= params.size())
    refuseIndex("parameter", index);
  return params[static_cast<std::size_t>(index)];
}

void QueryBindings::bindParam(int index, enum_field_types type, const void* buffer, unsigned long bufferLength,
                              const unsigned long* length, const bool* isNull, SignedFlag sign)
{
  if (kindOf(type) == Kind::unsupported)
    throw DBException("values of the type code " + std::to_string(static_cast<int>(type)) + " cannot be bound");
  param(index) = Param{true, type, buffer, bufferLength, length, isNull, sign, 0};
}

void QueryBindings::bindText(int index, const std::string& text)
{
  bindParam(index, MYSQL_TYPE_STRING, text.data(), text.size());
}

void QueryBindings::bindNumber(int index, long long number)
{
  bindParam(index, MYSQL_TYPE_LONGLONG, nullptr, sizeof number);
  param(index).ownNumber = number;
}

SqlValue QueryBindings::value(const Param& param)
{
  const Kind kind = kindOf(param.type);
  if (kind == Kind::null || (param.isNull && *param.isNull))
    return std::monostate();
  if (kind == Kind::bytes)
    return bytesOf(param.buffer, param.length ? *param.length : param.bufferLength);
  return param.buffer ? loadNumber(param.type, param.buffer, param.sign) : param.ownNumber;
}

std::vector<SqlValue> QueryBindings::values() const
{
  std::vector<SqlValue> bound;
  bound.reserve(params.size());
  for (const Param& param : params)
  {
    if (!param.bound)
      throw DBException("parameter " + std::to_string(bound.size()) + " is not bound");
    bound.push_back(value(param));
  }
  return bound;
}

bool QueryBindings::isNull(int column) const
{
  return !columnAt(results, column);
}

const std::string& QueryBindings::text(int column) const
{
  static const std::string nothing;
  const auto& value = columnAt(results, column);
  return value ? *value : nothing;
}

int QueryBindings::number(int column) const
{
  if (isNull(column))
    return 0;
  const std::string& digits = text(column);
  const char* end = digits.data() + digits.size();
  int number = 0;
  if (const auto [rest, error] = std::from_chars(digits.data(), end, number); error != std::errc() || rest != end)
    throw DBException("result column " + std::to_string(column) + " holds no 32-bit number");
  return number;
}

} // namespace tarn::db
