// How values that are bound by the client library's type codes go into a statement.
#include "db/QueryBindings.h"

#include "db/DBException.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>

namespace tarn::db
{
namespace
{

template <class Signed>
SqlValue numberAt(const void* buffer, SignedFlag sign)
{
  Signed number = 0;
  std::memcpy(&number, buffer, sizeof number);
  const auto positive = static_cast<std::make_unsigned_t<Signed>>(number);
  if (sign == SignedFlag::Signed)
    return static_cast<long long>(number);
  if (std::uint64_t{positive} > std::uint64_t{std::numeric_limits<long long>::max()})
    throw DBException("the number " + std::to_string(positive) + " is too large to be bound");
  return static_cast<long long>(positive);
}

SqlValue bytesAt(const void* buffer, std::size_t length)
{
  return length == 0 ? std::string_view("") : std::string_view(static_cast<const char*>(buffer), length);
}

} // namespace

QueryBindings::QueryBindings(int params, int /*results*/) : params(static_cast<std::size_t>(params)) {}

void QueryBindings::bindParam(int index, enum_field_types type, const void* buffer, unsigned long bufferLength,
                              const unsigned long* length, const bool* isNull, SignedFlag sign)
{
  if (index < 0 || static_cast<std::size_t>(index) >= params.size())
    throw DBException("there is no parameter " + std::to_string(index));
  params[static_cast<std::size_t>(index)] = Param{true, type, buffer, bufferLength, length, isNull, sign};
}

SqlValue QueryBindings::value(const Param& param)
{
  if (param.isNull && *param.isNull)
    return std::monostate();
  switch (param.type)
  {
  case MYSQL_TYPE_NULL:
    return std::monostate();
  case MYSQL_TYPE_TINY:
    return numberAt<std::int8_t>(param.buffer, param.sign);
  case MYSQL_TYPE_SHORT:
    return numberAt<std::int16_t>(param.buffer, param.sign);
  case MYSQL_TYPE_LONG:
    return numberAt<std::int32_t>(param.buffer, param.sign);
  case MYSQL_TYPE_LONGLONG:
    return numberAt<std::int64_t>(param.buffer, param.sign);
  case MYSQL_TYPE_STRING:
  case MYSQL_TYPE_VAR_STRING:
  case MYSQL_TYPE_VARCHAR:
  case MYSQL_TYPE_TINY_BLOB:
  case MYSQL_TYPE_BLOB:
  case MYSQL_TYPE_MEDIUM_BLOB:
  case MYSQL_TYPE_LONG_BLOB:
    return bytesAt(param.buffer, param.length ? *param.length : param.bufferLength);
  default:
    throw DBException("values of the type code " + std::to_string(static_cast<int>(param.type)) + " cannot be bound");
  }
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

} // namespace tarn::db
