// The first line of a journal (docs/formats.md, "Journal").
#include "archive/journal/JournalHeader.h"

#include <nlohmann/json.hpp>

namespace tarn::archive
{
namespace
{

constexpr int kVersion = 1;

} // namespace

std::string toJson(const JournalHeader& header)
{
  return nlohmann::ordered_json{{"journal", kVersion},
                                {"form", header.form},
                                {"shard", {header.shard, header.shards}},
                                {"program", ANNOMEND_VERSION}}
      .dump();
}

std::optional<JournalHeader> headerFrom(const std::string& line)
{
  const auto json = nlohmann::json::parse(line, nullptr, false);
  try
  {
    if (json.at("journal").get<int>() != kVersion)
      return std::nullopt;
    return JournalHeader{json.at("form").get<std::string>(), json.at("shard").at(0).get<unsigned>(),
                         json.at("shard").at(1).get<unsigned>()};
  }
  catch (const nlohmann::json::exception&)
  {
    return std::nullopt;
  }
}

} // namespace tarn::archive
