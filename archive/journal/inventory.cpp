// The lines of `find` (docs/formats.md, "Inventory").
#include "archive/journal/inventory.h"

#include "archive/journal/textJson.h"

namespace tarn::archive
{

std::string toJson(const InventoryEntry& entry)
{
  JsonLine line;
  putInput(line, entry.input);
  line.put("size", entry.size);
  line.put("mtime", entry.mtime);
  line.put("study", entry.study);
  line.put("instance", entry.instance);
  line.put("private", entry.hasPluginState);
  return line.finish();
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
