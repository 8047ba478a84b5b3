// What stands in the URL of a database and in the file of its password, and what of it may be shown.
#include "db/databaseUrl.h"

#include "base/IMException.h"
#include "base/environmentValue.h"
#include "base/files.h"
#include "base/text.h"
#include "db/DBException.h"

#include <charconv>
#include <cstdint>
#include <utility>
#include <vector>

namespace tarn::db
{
namespace
{

struct Parameter
{
  const char* name;
  std::string MysqlAddress::*value;
};

constexpr Parameter kParameters[] = {
    {"socket", &MysqlAddress::socket},
    {"ssl-ca", &MysqlAddress::sslCa},
    {"defaults-group", &MysqlAddress::defaultsGroup},
};

/// What stands before the first `separator` of `text`, and what after it; nothing after it when there is none.
std::pair<std::string, std::string> cutAt(const std::string& text, char separator)
{
  const auto at = text.find(separator);
  if (at == std::string::npos)
    return {text, {}};
  return {text.substr(0, at), text.substr(at + 1)};
}

void require(bool condition, const char* reason)
{
  if (!condition)
    throw DBException(reason);
}

unsigned portNumber(const std::string& digits)
{
  std::uint16_t port = 0;
  const char* end = digits.data() + digits.size();
  const auto [rest, error] = std::from_chars(digits.data(), end, port);
  require(error == std::errc() && rest == end && port != 0, "the port is no number from 1 to 65535");
  return port;
}

void parseUser(const std::string& text, MysqlAddress& address)
{
  const auto [user, password] = cutAt(text, ':');
  require(!user.empty(), "it names no user");
  address.user = percentDecoded(user);
  if (user.size() != text.size())
    address.password = percentDecoded(password);
}

void parseHost(const std::string& text, MysqlAddress& address)
{
  const auto bracket = text.find(']');
  const bool numeric = !text.empty() && text[0] == '[' && bracket != std::string::npos;
  const auto hostEnd = numeric ? bracket + 1 : text.find(':');
  address.host = percentDecoded(numeric ? text.substr(1, bracket - 1) : text.substr(0, hostEnd));
  require(!address.host.empty(), "it names no host");
  const std::string port = hostEnd == std::string::npos ? "" : text.substr(hostEnd);
  require(port.empty() || port[0] == ':', "the port is no number from 1 to 65535");
  if (!port.empty())
    address.port = portNumber(port.substr(1));
}

/// Without what ends it, a line feed, also after a carriage return.
std::string firstLine(const std::string& text)
{
  const std::size_t end = text.find('\n');
  const bool isDosLine = end != std::string::npos && end > 0 && text[end - 1] == '\r';
  return text.substr(0, isDosLine ? end - 1 : end);
}

const Parameter* findParameter(const std::string& name)
{
  for (const Parameter& parameter : kParameters)
    if (name == parameter.name)
      return &parameter;
  return nullptr;
}

void parseParameter(const std::string& text, MysqlAddress& address)
{
  const auto [name, value] = cutAt(text, '=');
  const Parameter* parameter = findParameter(name);
  require(parameter, "a parameter is none of socket, ssl-ca and defaults-group");
  require(!value.empty(), "a parameter has no value");
  address.*parameter->value = percentDecoded(value);
}

/// `url` up to its first parameter that is none of ours: its value may be meant as a password.
std::string withKnownParameters(const std::string& url)
{
  auto start = url.find('?');
  while (start != std::string::npos)
  {
    const std::string parameter = url.substr(start + 1, url.find('&', start + 1) - start - 1);
    if (!parameter.empty() && !findParameter(cutAt(parameter, '=').first))
      return url.substr(0, start + 1) + "...";
    start = url.find('&', start + 1);
  }
  return url;
}

} // namespace

std::string percentDecoded(const std::string& text)
{
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i)
  {
    char byte = text[i];
    if (byte == '%')
    {
      const int high = i + 1 < text.size() ? base::hexValue(text[i + 1]) : -1;
      const int low = i + 2 < text.size() ? base::hexValue(text[i + 2]) : -1;
      require(high >= 0 && low >= 0, "a '%' is not followed by two hexadecimal digits");
      byte = static_cast<char>(high * 16 + low);
      i += 2;
    }
    require(byte != '\0', "it holds a NUL");
    decoded += byte;
  }
  return decoded;
}

MysqlAddress parseMysqlUrl(const std::string& url)
{
  MysqlAddress address;
  const auto [place, parameters] = cutAt(url.substr(sizeof kMysqlScheme - 1), '?');
  const auto [authority, database] = cutAt(place, '/');
  const auto at = authority.rfind('@');
  require(at != std::string::npos, "it names no user");
  parseUser(authority.substr(0, at), address);
  parseHost(authority.substr(at + 1), address);
  require(!database.empty(), "it names no database");
  require(database.find_first_of("/@") == std::string::npos, "a '/' or '@' within a name is written %2F or %40");
  address.database = percentDecoded(database);
  std::vector<std::string> settings;
  base::split3<std::vector<std::string>, '&'>(parameters, settings);
  for (const std::string& parameter : settings)
    parseParameter(parameter, address);
  return address;
}

MysqlAddress withPasswordFile(MysqlAddress address)
{
  const std::string path = address.password ? "" : base::environmentValue("TARN_DB_PASSWORD_FILE");
  if (path.empty())
    return address;
  try
  {
    const base::RegularFile file(path);
    if ((file.status.st_mode & S_IRWXO) != 0)
      throw DBException("the file that TARN_DB_PASSWORD_FILE names is open to other accounts");
    if (const std::string line = firstLine(file.content()); !line.empty())
      address.password = line;
  }
  catch (const base::FileError&)
  {
    // Its reason is one of those that the message gives.
  }
  if (!address.password)
    throw DBException("the file that TARN_DB_PASSWORD_FILE names cannot be read, or is empty");
  return address;
}

std::string withoutPassword(const std::string& url)
{
  // A password may hold every separator unescaped: all from the first colon to the last '@' goes.
  const auto scheme = url.find("://");
  const auto colon = url.find(':', scheme == std::string::npos ? 0 : scheme + 3);
  const auto at = url.rfind('@');
  std::string shown = url;
  if (colon != std::string::npos && at != std::string::npos && colon < at)
    shown.erase(colon, at - colon);
  return base::printable(withKnownParameters(shown));
}

} // namespace tarn::db
