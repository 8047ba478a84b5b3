#include "ObjectMetaFile.h"

#include "IMException.h"
#include "PartFile.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace tarn::tools
{
namespace
{

namespace fs = std::filesystem;
using imutils::IMException;

/// A number that its readers only require to be there, and the number and names of the columns.
constexpr char kHeading[] = "1\n8\n"
                            "STUDYUID\tFNAME\tSOPCLASSUID\tSOPINSTUID\tSERIESUID\tIMGCOLUMNS\tIMGROWS\tIMGFRAMES";
constexpr std::size_t kTabs = 7; // a row

std::string numberText(const std::optional<int>& number)
{
  return number ? std::to_string(*number) : "<<NULL>>";
}

/// The values hold no character that URL encoding changes.
std::string lineOf(const StudyObject& object)
{
  return object.studyUid + '\t' + object.name + '\t' + object.sopClassUid + '\t' + object.sopInstanceUid + '\t' +
         object.seriesUid + '\t' + numberText(object.columns) + '\t' + numberText(object.rows) + '\t' +
         numberText(object.frames);
}

std::string readHeading(std::istream& file)
{
  std::string heading;
  std::string line;
  for (int i = 0; i < 3 && std::getline(file, line); ++i)
    heading += (i == 0 ? "" : "\n") + line;
  return heading;
}

std::string nameIn(const std::string& line)
{
  const std::size_t start = line.find('\t') + 1;
  return line.substr(start, line.find('\t', start) - start);
}

[[noreturn]] void refuse(const std::string& path, const std::string& reason)
{
  throw IMException(path + ": " + reason + " (--replace writes it anew)");
}

} // namespace

void ObjectMetaFile::read(const std::string& path)
{
  std::error_code error;
  const fs::file_status status = fs::symlink_status(path, error);
  if (status.type() == fs::file_type::not_found)
    return;
  if (!fs::is_regular_file(status))
    refuse(path, "not a regular file");
  std::ifstream file(path);
  if (!file)
    refuse(path, std::strerror(errno));
  if (readHeading(file) != kHeading)
    refuse(path, "its heading is not one that tarnctl writes");
  for (std::string line; std::getline(file, line);)
  {
    if (static_cast<std::size_t>(std::count(line.begin(), line.end(), '\t')) != kTabs)
      refuse(path, "a row does not have " + std::to_string(kTabs + 1) + " values");
    lines[nameIn(line)] = line;
  }
  if (file.bad())
    refuse(path, std::strerror(errno));
}

void ObjectMetaFile::put(const StudyObject& object)
{
  std::string line = lineOf(object);
  const auto [place, isNew] = lines.try_emplace(object.name);
  if (isNew)
    ++addedCount;
  else if (place->second != line)
    ++changedCount;
  place->second = std::move(line);
}

void ObjectMetaFile::write(const PartFile& file) const
{
  std::string text = kHeading;
  text += '\n';
  for (const auto& [name, line] : lines)
    text += line + '\n';
  if (!file.good() || !file.write(text.data(), text.size()) || !file.sync())
    throw IMException(file.path() + ": " + std::strerror(errno));
}

} // namespace tarn::tools
