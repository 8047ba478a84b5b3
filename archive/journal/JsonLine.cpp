// Lines of JSON as they are written.
#include "archive/journal/JsonLine.h"

#include "archive/journal/textJson.h"

#include <simdjson.h>

namespace tarn::archive
{

void JsonLine::putText(std::string_view text)
{
  if (simdjson::validate_utf8(text.data(), text.size()))
  {
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    return;
  }
  const std::string shown = readable(text);
  writer.String(shown.data(), static_cast<rapidjson::SizeType>(shown.size()));
}

void JsonLine::put(std::string_view name, std::string_view text)
{
  putName(name);
  putText(text);
}

void JsonLine::put(std::string_view name, std::uint64_t number)
{
  putName(name);
  writer.Uint64(number);
}

void JsonLine::put(std::string_view name, double number)
{
  putName(name);
  writer.Double(number);
}

void JsonLine::put(std::string_view name, bool value)
{
  putName(name);
  writer.Bool(value);
}

std::string JsonLine::finish()
{
  writer.EndObject();
  return std::string(begun());
}

} // namespace tarn::archive
