// What a journal holds, found by the names of inputs and outputs.
#include "archive/journal/JournalIndex.h"

#include "archive/journal/textJson.h"
#include "base/files.h"
#include "base/text.h"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace tarn::archive
{
namespace
{

constexpr std::size_t kLineGuess = 2048;
/// What a power cut may leave of the last batch: whole lines after one that was never written.
constexpr std::uint64_t kLongestTornTail = std::uint64_t{64} << 20U;

/// How a record of `input` begins: with every field of its name.
std::string beginningOf(const std::string& input)
{
  JsonLine line;
  putInput(line, input);
  return base::joined(line.begun(), ",\"size\":"); // and not "input_hex", of another input that looks the same
}

/// The name of the link from the place of an output to that before.
std::string linkName(const std::string& output, Role role, std::uint64_t offset)
{
  return base::joined(static_cast<int>(role), " ", output, " ", offset);
}

base::Fd openedForReading(const std::string& path)
{
  base::Fd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!fd)
    throw JournalError(base::joined(path, " cannot be read: ", base::FileError(errno).what()));
  return fd;
}

} // namespace

JournalIndex::JournalIndex(const std::string& path, Damage damage)
  : file(path), damage(damage), fd(openedForReading(path))
{
  load();
}

/// A line that is no record ends the journal, where it can be what a power cut left of the last batch: blocks that were
/// never written read as NULs. Anything else is damage.
void JournalIndex::load()
{
  JournalReader reader(file);
  bytes = reader.end();
  for (std::string line; reader.next(line); bytes = reader.end())
    try
    {
      note(keysIn(line), reader.offset());
    }
    catch (const JournalError&)
    {
      throw;
    }
    catch (const std::exception& failure)
    {
      if (line.find('\0') != std::string::npos && reader.size() - bytes <= kLongestTornTail)
        return;
      if (damage == Damage::refuse)
        throw JournalMisfit(base::joined(file, " is damaged at byte ", bytes, ": ", failure.what()));
      ++damaged;
    }
}

/// A line may have the keys and be no record all the same, which takes many times longer to tell.
RecordKeys JournalIndex::keysIn(std::string& line)
{
  if (damage == Damage::passOver)
    static_cast<void>(recordFrom(line));
  return keysReader.read(line);
}

void JournalIndex::append(const Record& record, std::uint64_t length)
{
  note(keysOf(record), bytes);
  bytes += length;
}

void JournalIndex::note(const RecordKeys& keys, std::uint64_t offset)
{
  const std::uint64_t before = offsetOf(keys.input);
  RecordKeys former;
  if (before != OffsetIndex::kNone)
  {
    std::string line = lineAt(before);
    former = keysReader.read(line);
    count(former, -1);
  }
  count(keys, +1);
  inputs.put(keys.input, offset, [before](std::uint64_t place) { return place == before; });
  for (const auto& output : keys.outputs)
  {
    const bool hadIt = std::find(former.outputs.begin(), former.outputs.end(), output) != former.outputs.end();
    noteOutput(output.first, output.second, offset, hadIt ? before : OffsetIndex::kNone);
  }
}

/// The places that have the output form a chain, the newest first: copies of a state may be many. The record at `known`
/// is one of them.
void JournalIndex::noteOutput(const std::string& output, Role role, std::uint64_t offset, std::uint64_t known)
{
  OffsetIndex& newest = outputs.at(static_cast<std::size_t>(role));
  const auto isHeld = [&](std::uint64_t place)
  { return place == known || holds(recordFrom(lineAt(place)), output, role); };
  const std::uint64_t before = newest.find(output, isHeld);
  newest.put(output, offset, [before](std::uint64_t place) { return place == before; });
  if (before != OffsetIndex::kNone)
    older.put(linkName(output, role, offset), before, [](std::uint64_t) { return false; });
}

void JournalIndex::count(const RecordKeys& keys, int step)
{
  outcomeCounts.at(static_cast<std::size_t>(keys.outcome)) += static_cast<std::uint64_t>(step);
  for (const std::string& code : keys.reasons)
    reasonCounts[code] += static_cast<std::uint64_t>(step);
}

std::string JournalIndex::lineAt(std::uint64_t offset) const
{
  std::string line;
  for (;;)
  {
    std::array<char, kLineGuess> block; // not cleared for each look-up
    const ssize_t got = pread(fd.get(), block.data(), block.size(), static_cast<off_t>(offset + line.size()));
    if (got < 0 && errno == EINTR)
      continue;
    if (got <= 0)
      throw JournalError(
          base::joined(file, " cannot be read: ", got < 0 ? base::FileError(errno).what() : "it became shorter"));
    const std::string_view part(block.data(), static_cast<std::size_t>(got));
    const std::size_t feed = part.find('\n');
    line.append(part.substr(0, feed));
    if (feed != std::string_view::npos)
      return line;
  }
}

bool JournalIndex::isOf(std::uint64_t offset, const std::string& input) const
{
  return base::startsWith(lineAt(offset), beginningOf(input));
}

std::uint64_t JournalIndex::offsetOf(const std::string& input) const
{
  return inputs.find(input, [&](std::uint64_t offset) { return isOf(offset, input); });
}

std::optional<Record> JournalIndex::read(const std::string& input) const
{
  const std::uint64_t offset = offsetOf(input);
  return offset == OffsetIndex::kNone ? std::nullopt : std::make_optional(recordFrom(lineAt(offset)));
}

std::optional<std::string> JournalIndex::holderOf(const std::string& output, Role role, const Counts& counts) const
{
  const auto isHeld = [&](std::uint64_t place) { return holds(recordFrom(lineAt(place)), output, role); };
  std::uint64_t place = outputs.at(static_cast<std::size_t>(role)).find(output, isHeld);
  while (place != OffsetIndex::kNone)
  {
    const std::string holder = recordFrom(lineAt(place)).input;
    if (inputs.holds(holder, place) && (!counts || counts(holder)))
      return holder;
    place = older.find(linkName(output, role, place), isHeld);
  }
  return std::nullopt;
}

void JournalIndex::forEach(const std::function<void(const Record& record)>& visit, const Wanted& wanted) const
{
  RecordKeysReader keys;
  JournalReader reader(file);
  for (std::string line; reader.end() < bytes && reader.next(line);)
    if (isLast(keys, line, reader.offset(), wanted))
      visit(recordFrom(line));
}

/// Whether the line is the last record of its input, and wanted. One that was passed over is no record.
bool JournalIndex::isLast(RecordKeysReader& reader, std::string& line, std::uint64_t offset, const Wanted& wanted) const
{
  try
  {
    const RecordKeys keys = reader.read(line);
    return inputs.holds(keys.input, offset) && (!wanted || wanted(keys.outcome));
  }
  catch (const std::exception&)
  {
    if (damage == Damage::refuse)
      throw;
    return false;
  }
}

} // namespace tarn::archive
