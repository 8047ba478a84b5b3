// The lines of `find` (docs/formats.md, "Inventory").
#include "archive/journal/inventory.h"

#include "archive/journal/textJson.h"

namespace tarn::archive
{

std::string toJson(const InventoryEntry& entry)
{
  Json json = Json::object();
  putInput(json, entry.input);
  json["size"] = entry.size;
  json["mtime"] = entry.mtime;
  json["study"] = readable(entry.study);
  json["instance"] = readable(entry.instance);
  json["private"] = entry.hasPluginState;
  return json.dump();
}

InventoryEntry entryFrom(const std::string& line)
{
  const Json json = Json::parse(line);
  InventoryEntry entry;
  entry.input = inputOf(json);
  entry.size = json.at("size").get<std::uint64_t>();
  entry.mtime = json.at("mtime").get<std::string>();
  entry.study = json.at("study").get<std::string>();
  entry.instance = json.at("instance").get<std::string>();
  entry.hasPluginState = json.at("private").get<bool>();
  return entry;
}

Record recordOf(const InventoryEntry& entry)
{
  Record record;
  record.input = entry.input;
  record.size = entry.size;
  record.mtime = entry.mtime;
  record.study = entry.study;
  record.instance = entry.instance;
  record.outcome = Outcome::nothing;
  return record;
}

} // namespace tarn::archive
