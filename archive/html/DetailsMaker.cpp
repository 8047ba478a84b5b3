#include "archive/html/DetailsMaker.h"

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

std::string fileOf(const Output& output, const Anonymity& anonymity)
{
  return anonymity.isWanted() ? "" : shortText(output.file, kMostBytes);
}

const PluginPart* partWith(const PluginLines& lines, const std::string& instance)
{
  const auto found = std::find_if(lines.parts.begin(), lines.parts.end(),
                                  [&](const PluginPart& part) { return part.instance == instance; });
  return found == lines.parts.end() ? nullptr : &*found;
}

} // namespace

std::string numberedName(const char* folder, std::uint64_t number, const char* extension)
{
  std::array<char, 64> name{};
  std::snprintf(name.data(), name.size(), "%s/%03llu/%06llu.%s", folder, static_cast<unsigned long long>(number / 1000),
                static_cast<unsigned long long>(number), extension);
  return name.data();
}

DetailsMaker::DetailsMaker(const Anonymity& anonymity, std::string out, const std::string& imagesFolder)
  : anonymity(anonymity), out(std::move(out)), images(db, imagesFolder)
{
}

Json DetailsMaker::make(const Record& record, std::uint64_t firstPicture, const TakePicture& take)
{
  nextPicture = firstPicture;
  const PluginLines lines = pluginLinesOf(record);
  Json parts = Json::array();
  std::set<const PluginPart*> shown;
  for (const Output& output : record.outputs)
  {
    const PluginPart* const part = partWith(lines, output.instance);
    parts.push_back(partOf(&output, part, take));
    shown.insert(part);
  }
  for (const PluginPart& part : lines.parts)
    if (shown.count(&part) == 0)
      parts.push_back(partOf(nullptr, &part, take));
  return {{"problem", lines.problem}, {"parts", parts}, {"cut", lines.cut}};
}

Json DetailsMaker::withoutPictures(const Record& record, const Anonymity& anonymity)
{
  constexpr char kReason[] = "The program failed, or it took too long.";
  Json parts = Json::array();
  for (const Output& output : record.outputs)
    parts.push_back(
        {{"file", fileOf(output, anonymity)}, {"code", "crashed"}, {"reason", kReason}, {"lines", Json::array()}});
  return {{"problem", kReason}, {"parts", parts}, {"cut", 0}};
}

Json DetailsMaker::partOf(const Output* output, const PluginPart* lines, const TakePicture& take)
{
  Json part = Json::object();
  if (output)
  {
    part["file"] = fileOf(*output, anonymity);
    putPicture(part, *output, take);
  }
  Json& texts = part["lines"] = Json::array();
  for (std::size_t i = 0; lines && i < lines->lines.size(); ++i)
    if (const std::string text = anonymity.shownLine(lines->lines[i]); !text.empty())
      texts.push_back(shortText(text, kMostBytes));
  return part;
}

void DetailsMaker::putPicture(Json& part, const Output& output, const TakePicture& take)
{
  picture::Order order;
  order.labels = !anonymity.isWanted();
  std::ostringstream messages; // of what could be found nowhere
  const ConsoleScope kept(messages, messages);
  std::string reason;
  try
  {
    if (!codecs)
      codecs.emplace();
    take(picture::drawState(out + "/" + output.file, images, order));
    part["picture"] = numberedName("p", nextPicture++, "svg");
    return;
  }
  catch (const picture::Refusal& refusal)
  {
    part["code"] = refusal.code;
    reason = refusal.what();
  }
  catch (const db::DBException& failure)
  {
    part["code"] = "image-not-found";
    reason = failure.what();
  }
  part["reason"] = anonymity.isWanted() ? "" : shortText(reason, kMostBytes);
}

} // namespace tarn::archive
