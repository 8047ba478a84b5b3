// Records as lines of JSON (docs/formats.md, "Journal").
#include "archive/journal/Record.h"

#include "archive/journal/textJson.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace tarn::archive
{
namespace
{

constexpr std::array<const char*, kOutcomes> kNames{"converted", "partly",  "nothing", "refused",
                                                    "failed",    "crashed", "timeout"};

Json jsonOf(const Output& output)
{
  Json json{{"file", readable(output.file)},   {"instance", readable(output.instance)},
            {"image", readable(output.image)}, {"class", readable(output.imageClass)},
            {"frame", readable(output.frame)}, {"bytes", output.bytes},
            {"sha256", output.sha256}};
  if (!output.annotations.empty())
    json["annotations"] = output.annotations;
  if (output.duplicate)
    json["duplicate"] = true;
  return json;
}

Json jsonOf(const Record& record)
{
  Json json = Json::object();
  putInput(json, record.input);
  json["size"] = record.size;
  json["mtime"] = record.mtime;
  json["study"] = readable(record.study);
  json["instance"] = readable(record.instance);
  json["outcome"] = nameOf(record.outcome);
  Json& annotations = json["annotations"] = Json::object();
  for (const auto& [kind, tally] : record.annotations)
    annotations[readable(kind)] = Json{{"read", tally.read}, {"written", tally.written}};
  Json& reasons = json["reasons"] = Json::array();
  for (const Reason& reason : record.reasons)
    reasons.push_back({{"code", reason.code}, {"detail", readable(reason.detail)}, {"count", reason.count}});
  Json& outputs = json["outputs"] = Json::array();
  for (const Output& output : record.outputs)
    outputs.push_back(jsonOf(output));
  if (!record.rules.empty())
    json["rules"] = record.rules;
  Json& messages = json["messages"] = Json::array();
  for (const std::string& message : record.messages)
    messages.push_back(readable(message));
  json["ms"] = record.milliseconds;
  return json;
}

Output outputOf(const Json& json)
{
  Output output;
  output.file = json.at("file").get<std::string>();
  output.instance = json.at("instance").get<std::string>();
  output.image = json.at("image").get<std::string>();
  output.imageClass = json.at("class").get<std::string>();
  output.frame = json.at("frame").get<std::string>();
  output.bytes = json.at("bytes").get<std::uint64_t>();
  output.sha256 = json.at("sha256").get<std::string>();
  if (json.contains("annotations"))
    output.annotations = json.at("annotations").get<std::map<std::string, std::uint64_t>>();
  output.duplicate = json.value("duplicate", false);
  return output;
}

Record recordOf(const Json& json)
{
  Record record;
  record.input = inputOf(json);
  record.size = json.at("size").get<std::uint64_t>();
  record.mtime = json.at("mtime").get<std::string>();
  record.study = json.at("study").get<std::string>();
  record.instance = json.at("instance").get<std::string>();
  const std::optional<Outcome> outcome = outcomeNamed(json.at("outcome").get<std::string>());
  if (!outcome)
    throw std::runtime_error("unknown outcome");
  record.outcome = *outcome;
  for (const auto& [kind, tally] : json.at("annotations").items())
    record.annotations[kind] = {tally.at("read").get<std::uint64_t>(), tally.at("written").get<std::uint64_t>()};
  for (const Json& reason : json.at("reasons"))
    record.reasons.push_back({reason.at("code").get<std::string>(), reason.at("detail").get<std::string>(),
                              reason.at("count").get<std::uint64_t>()});
  for (const Json& output : json.at("outputs"))
    record.outputs.push_back(outputOf(output));
  if (json.contains("rules"))
    record.rules = json.at("rules").get<std::map<std::string, std::uint64_t>>();
  record.messages = json.at("messages").get<std::vector<std::string>>();
  record.milliseconds = json.at("ms").get<double>();
  return record;
}

} // namespace

const char* nameOf(Outcome outcome)
{
  return kNames.at(static_cast<std::size_t>(outcome));
}

std::optional<Outcome> outcomeNamed(std::string_view name)
{
  const auto* const found = std::find(kNames.begin(), kNames.end(), name);
  if (found == kNames.end())
    return std::nullopt;
  return static_cast<Outcome>(found - kNames.begin());
}

const Output* outputOf(const Record& record, const std::string& file)
{
  const auto found = std::find_if(record.outputs.begin(), record.outputs.end(),
                                  [&](const Output& output) { return output.file == file; });
  return found == record.outputs.end() ? nullptr : &*found;
}

bool holds(const Record& record, const std::string& file, Role role)
{
  const Output* const output = outputOf(record, file);
  return output && roleOf(*output) == role;
}

std::string toJson(const Record& record)
{
  return jsonOf(record).dump();
}

Record recordFrom(const std::string& line)
{
  return recordOf(Json::parse(line));
}

} // namespace tarn::archive
