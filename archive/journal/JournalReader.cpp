// Journals as they are read: by a run that goes on, by the report and by the check.
#include "archive/journal/JournalReader.h"

#include "base/text.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace tarn::archive
{
namespace
{

constexpr std::size_t kBlock = std::size_t{1} << 20U;

base::RegularFile opened(const std::string& path)
{
  try
  {
    return base::RegularFile(path);
  }
  catch (const base::FileError& failure)
  {
    const std::string what = base::joined(path, " cannot be read: ", failure.what());
    if (failure.code == 0) // not for a reason that passes
      throw JournalMisfit(what);
    throw JournalError(what);
  }
}

} // namespace

std::vector<std::string> journalsIn(const std::string& folder)
{
  std::error_code failure;
  std::vector<std::string> paths;
  for (auto entry = std::filesystem::directory_iterator(folder, failure);
       !failure && entry != std::filesystem::directory_iterator(); entry.increment(failure))
    if (entry->path().extension() == ".jsonl")
      paths.push_back(entry->path());
  if (failure)
    throw JournalError(base::joined(folder, " cannot be read: ", failure.message()));
  std::sort(paths.begin(), paths.end());
  return paths;
}

JournalReader::JournalReader(const std::string& path, Unread /*header*/) : file(path), content(opened(path)) {}

JournalReader::JournalReader(const std::string& path) : JournalReader(path, Unread())
{
  const std::optional<JournalHeader> found = headerOf(path);
  if (!found)
    throw JournalError(file + " has no header");
  head = *found;
  std::string line;
  static_cast<void>(next(line));
}

std::optional<JournalHeader> JournalReader::headerOf(const std::string& path)
{
  JournalReader reader(path, Unread());
  std::string line;
  if (!reader.next(line))
    return std::nullopt;
  std::optional<JournalHeader> found = headerFrom(line);
  if (!found)
    throw JournalMisfit(path + " does not begin with the header of a journal");
  return found;
}

bool JournalReader::fill()
{
  block.erase(0, blockAt);
  blockAt = 0;
  const std::size_t held = block.size();
  block.resize(held + kBlock);
  const std::ptrdiff_t got = base::readUpTo(content.fd, block.data() + held, kBlock);
  if (got < 0)
    throw JournalError(base::joined(file, " cannot be read: ", base::FileError(errno).what()));
  block.resize(held + static_cast<std::size_t>(got));
  return got > 0;
}

bool JournalReader::next(std::string& line)
{
  std::size_t feed = block.find('\n', blockAt);
  while (feed == std::string::npos)
  {
    const std::size_t searched = block.size() - blockAt;
    if (!fill())
      return false;
    feed = block.find('\n', searched);
  }
  line.assign(block, blockAt, feed - blockAt);
  lineStart = nextStart;
  nextStart += line.size() + 1;
  blockAt = feed + 1;
  return true;
}

} // namespace tarn::archive
