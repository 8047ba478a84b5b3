#include "archive/html/DetailsWriter.h"

#include "archive/html/scriptText.h"
#include "base/Console.h"
#include "base/text.h"
#include "db/DBException.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <set>
#include <sstream>
#include <utility>

namespace tarn::archive
{
namespace
{

constexpr std::size_t kMostBytes = 1000; ///< of a line, and of other texts

/// "p/012/012345.svg": a folder holds a thousand.
std::string numbered(const char* folder, std::uint64_t number, const char* extension)
{
  std::array<char, 64> name{};
  std::snprintf(name.data(), name.size(), "%s/%03llu/%06llu.%s", folder, static_cast<unsigned long long>(number / 1000),
                static_cast<unsigned long long>(number), extension);
  return name.data();
}

const PluginPart* partWith(const PluginLines& lines, const std::string& instance)
{
  const auto found = std::find_if(lines.parts.begin(), lines.parts.end(),
                                  [&](const PluginPart& part) { return part.instance == instance; });
  return found == lines.parts.end() ? nullptr : &*found;
}

} // namespace

DetailsWriter::DetailsWriter(ReportFolder& folder, const Anonymity& anonymity, std::string out,
                             const std::string& imagesFolder)
  : folder(folder), anonymity(anonymity), out(std::move(out)), images(db, imagesFolder)
{
}

void DetailsWriter::write(std::uint64_t row, const Record& record)
{
  const PluginLines lines = pluginLinesOf(record);
  Json parts = Json::array();
  std::set<const PluginPart*> shown;
  for (const Output& output : record.outputs)
  {
    const PluginPart* const part = partWith(lines, output.instance);
    parts.push_back(partOf(&output, part));
    shown.insert(part);
  }
  for (const PluginPart& part : lines.parts)
    if (shown.count(&part) == 0)
      parts.push_back(partOf(nullptr, &part));
  const Json details{{"problem", lines.problem}, {"parts", parts}, {"cut", lines.cut}};
  folder.write(numbered("d", row, "js"), scriptCall("details", row, details.dump()));
}

Json DetailsWriter::partOf(const Output* output, const PluginPart* lines)
{
  Json part = Json::object();
  if (output)
  {
    if (!anonymity.isWanted())
      part["file"] = shortText(output->file, kMostBytes);
    putPicture(part, *output);
  }
  Json& texts = part["lines"] = Json::array();
  for (std::size_t i = 0; lines && i < lines->lines.size(); ++i)
    if (const std::string text = anonymity.shownLine(lines->lines[i]); !text.empty())
      texts.push_back(shortText(text, kMostBytes));
  return part;
}

void DetailsWriter::putPicture(Json& part, const Output& output)
{
  picture::Order order;
  order.labels = !anonymity.isWanted();
  std::ostringstream messages; // of what could be found nowhere
  const ConsoleScope kept(messages, messages);
  try
  {
    const std::string svg = picture::drawState(out + "/" + output.file, images, order);
    const std::string name = numbered("p", drawn, "svg");
    folder.write(name, svg);
    ++drawn;
    part["picture"] = name;
    return;
  }
  catch (const picture::Refusal& refusal)
  {
    part["code"] = refusal.code;
    part["reason"] = refusal.what();
  }
  catch (const db::DBException& failure)
  {
    part["code"] = "image-not-found";
    part["reason"] = failure.what();
  }
  ++refused;
  part["reason"] = anonymity.isWanted() ? "" : shortText(part["reason"].get<std::string>(), kMostBytes);
}

} // namespace tarn::archive
