// The keys of records, by the simdjson library, which validates a line many times faster than one with values of its
// own.
#include "archive/journal/RecordKeys.h"

#include "archive/journal/textJson.h"

#include <simdjson.h>

#include <stdexcept>
#include <string_view>

namespace tarn::archive
{
namespace
{

std::string textOf(simdjson::dom::element element)
{
  return std::string(std::string_view(element));
}

std::string inputIn(simdjson::dom::element record)
{
  simdjson::dom::element digits;
  return record["input_hex"].get(digits) == simdjson::SUCCESS ? fromHex(textOf(digits)) : textOf(record["input"]);
}

Role roleIn(simdjson::dom::element output)
{
  bool duplicate = false;
  const bool isSaid = output["duplicate"].get(duplicate) == simdjson::SUCCESS;
  return isSaid && duplicate ? Role::duplicate : Role::owner;
}

} // namespace

struct RecordKeysReader::Parser
{
  simdjson::dom::parser json;
};

RecordKeysReader::RecordKeysReader() : parser(std::make_unique<Parser>()) {}
RecordKeysReader::RecordKeysReader(RecordKeysReader&& other) noexcept = default;
RecordKeysReader::~RecordKeysReader() = default;

RecordKeys RecordKeysReader::read(std::string& line)
{
  line.reserve(line.size() + simdjson::SIMDJSON_PADDING);
  const simdjson::dom::element record = parser->json.parse(line.data(), line.size(), false);
  const std::optional<Outcome> outcome = outcomeNamed(std::string_view(record["outcome"]));
  if (!outcome)
    throw std::runtime_error("unknown outcome");
  RecordKeys keys{inputIn(record), *outcome, {}, {}};
  for (const simdjson::dom::element reason : record["reasons"].get_array())
    keys.reasons.push_back(textOf(reason["code"]));
  for (const simdjson::dom::element output : record["outputs"].get_array())
    keys.outputs.emplace_back(textOf(output["file"]), roleIn(output));
  return keys;
}

RecordKeys keysOf(const Record& record)
{
  RecordKeys keys{record.input, record.outcome, {}, {}};
  for (const Reason& reason : record.reasons)
    keys.reasons.push_back(reason.code);
  for (const Output& output : record.outputs)
    keys.outputs.emplace_back(output.file, roleOf(output));
  return keys;
}

} // namespace tarn::archive
