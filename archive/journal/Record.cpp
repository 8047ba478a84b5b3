// Records as lines of JSON (docs/formats.md, "Journal").
#include "archive/journal/Record.h"

#include "archive/journal/JsonLine.h"
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

void putCounts(JsonLine& line, const std::map<std::string, std::uint64_t>& counts)
{
  for (const auto& [name, count] : counts)
    line.put(name, count);
}

void put(JsonLine& line, const Output& output)
{
  line.put("file", output.file);
  line.put("instance", output.instance);
  line.put("image", output.image);
  line.put("class", output.imageClass);
  line.put("frame", output.frame);
  line.put("bytes", output.bytes);
  line.put("sha256", output.sha256);
  if (!output.annotations.empty())
    line.putObject("annotations", [&] { putCounts(line, output.annotations); });
  if (output.duplicate)
    line.put("duplicate", true);
}

void put(JsonLine& line, const Reason& reason)
{
  line.put("code", reason.code);
  line.put("detail", reason.detail);
  line.put("count", reason.count);
}

template <class Part>
void addEach(JsonLine& line, const std::vector<Part>& parts)
{
  for (const Part& part : parts)
    line.addObject([&] { put(line, part); });
}

void putTallies(JsonLine& line, const std::map<std::string, Tally>& tallies)
{
  for (const auto& [kind, tally] : tallies)
    line.putObject(kind,
                   [&line, &tally = tally]
                   {
                     line.put("read", tally.read);
                     line.put("written", tally.written);
                   });
}

void put(JsonLine& line, const Record& record)
{
  putInput(line, record.input);
  line.put("size", record.size);
  line.put("mtime", record.mtime);
  line.put("study", record.study);
  line.put("instance", record.instance);
  line.put("outcome", nameOf(record.outcome));
  line.putObject("annotations", [&] { putTallies(line, record.annotations); });
  line.putArray("reasons", [&] { addEach(line, record.reasons); });
  line.putArray("outputs", [&] { addEach(line, record.outputs); });
  if (!record.rules.empty())
    line.putObject("rules", [&] { putCounts(line, record.rules); });
  line.putArray("messages",
                [&]
                {
                  for (const std::string& message : record.messages)
                    line.add(message);
                });
  line.put("ms", record.milliseconds);
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
  JsonLine line;
  put(line, record);
  return line.finish();
}

Record recordFrom(const std::string& line)
{
  return recordOf(Json::parse(line));
}

} // namespace tarn::archive
