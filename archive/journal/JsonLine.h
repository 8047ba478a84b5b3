#pragma once

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace tarn::archive
{

/// An object of JSON on one line, written member by member by the RapidJSON library: a run writes some dozens of
/// members for each input, and makes no value of its own for each. Texts of any bytes are shown as readable() shows
/// them.
class JsonLine
{
public:
  JsonLine() { writer.StartObject(); }

  void put(std::string_view name, std::string_view text);
  void put(std::string_view name, const char* text) { put(name, std::string_view(text)); }
  void put(std::string_view name, std::uint64_t number);
  void put(std::string_view name, double number);
  void put(std::string_view name, bool value);
  /// A member, or an element of an array, that `write` fills.
  template <class Write>
  void putObject(std::string_view name, Write write)
  {
    putName(name);
    addObject(write);
  }
  template <class Write>
  void putArray(std::string_view name, Write write)
  {
    putName(name);
    writer.StartArray();
    write();
    writer.EndArray();
  }
  template <class Write>
  void addObject(Write write)
  {
    writer.StartObject();
    write();
    writer.EndObject();
  }
  void add(std::string_view text) { putText(text); }

  /// What was written so far, without the brace that ends it.
  std::string_view begun() const { return {buffer.GetString(), buffer.GetSize()}; }
  /// The whole line, without a line feed. Nothing is put afterwards.
  std::string finish();

private:
  void putName(std::string_view name) { writer.Key(name.data(), static_cast<rapidjson::SizeType>(name.size())); }
  void putText(std::string_view text);

  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer{buffer};
};

} // namespace tarn::archive
