// The journal that a run appends to.
#include "archive/journal/Journal.h"

#include "archive/journal/JournalReader.h"
#include "base/files.h"
#include "base/text.h"

#include <cerrno>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarn::archive
{
namespace
{

constexpr mode_t kMode = 0640;

JournalError cannot(const std::string& file, const char* what)
{
  return JournalError(base::joined(file, " cannot be ", what, ": ", base::FileError(errno).what()));
}

/// Journals of another number of shards or of another form are refused: their outputs and those of `header` do not go
/// together.
void requireFitting(const std::string& folder, const JournalHeader& header)
{
  for (const std::string& path : journalsIn(folder))
  {
    const std::optional<JournalHeader> found = JournalReader::headerOf(path);
    if (found && found->form != header.form)
      throw JournalMisfit(base::joined(path, " is of the form '", found->form, "', not '", header.form, "'"));
    if (found && found->shards != header.shards)
      throw JournalMisfit(base::joined(path, " is one of ", found->shards, " shards, not of ", header.shards));
  }
}

base::Fd openedForAppending(const std::string& folder, const JournalHeader& header)
{
  requireFitting(folder, header);
  const std::string file = folder + "/" + header.fileName();
  base::Fd fd(open(file.c_str(), O_RDWR | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, kMode));
  struct stat status = {};
  if (!fd || fstat(fd.get(), &status) != 0)
    throw cannot(file, "opened");
  if (!S_ISREG(status.st_mode) || status.st_uid != geteuid())
    throw JournalMisfit(file + " cannot be opened: it is no regular file of this account");
  if (flock(fd.get(), LOCK_EX | LOCK_NB) == 0)
    return fd;
  if (errno == EWOULDBLOCK)
    throw JournalMisfit(file + " is in use by another run");
  throw cannot(file, "locked");
}

/// Writes the header of a journal whose first line is not whole.
void begin(const std::string& folder, const JournalHeader& header, const base::Fd& fd)
{
  if (ftruncate(fd.get(), 0) != 0 || !base::writeAll(fd, toJson(header) + "\n") || fdatasync(fd.get()) != 0 ||
      !base::syncFolder(folder))
    throw cannot(folder + "/" + header.fileName(), "written");
}

/// The index of the journal, which ends with a whole record afterwards.
JournalIndex indexOf(const std::string& folder, const JournalHeader& header, const base::Fd& fd)
{
  const std::string file = folder + "/" + header.fileName();
  if (!JournalReader::headerOf(file))
    begin(folder, header, fd);
  JournalIndex index(file);
  if (ftruncate(fd.get(), static_cast<off_t>(index.size())) != 0 || fdatasync(fd.get()) != 0)
    throw cannot(file, "written");
  return index;
}

} // namespace

Journal::Journal(const std::string& folder, const JournalHeader& header)
  : fd(openedForAppending(folder, header)), index(indexOf(folder, header, fd)), runStart(index.size())
{
}

std::optional<Record> Journal::read(const std::string& input) const
{
  if (const auto pending = batchInputs.find(input); pending != batchInputs.end())
    return batch[pending->second];
  return index.read(input);
}

std::optional<Known> Journal::find(const std::string& input, const FileVersion& now) const
{
  const std::optional<Record> record = read(input);
  if (!record)
    return std::nullopt;
  const bool thisRun = batchInputs.count(input) > 0 || index.offsetOf(input) >= runStart;
  return Known{record->outcome, record->size == now.size && record->mtime == now.mtime, thisRun};
}

std::optional<std::string> Journal::holderOf(const std::string& output, Role role, const std::string& except) const
{
  const auto& places = batchOutputs.at(static_cast<std::size_t>(role));
  if (const auto pending = places.find(output); pending != places.end())
    for (auto place = pending->second.rbegin(); place != pending->second.rend(); ++place)
      if (const std::string& input = batch[*place].input; input != except && batchInputs.at(input) == *place)
        return input;
  const auto counts = [&](const std::string& input) { return input != except && batchInputs.count(input) == 0; };
  return index.holderOf(output, role, counts);
}

void Journal::add(Record record)
{
  batchInputs[record.input] = batch.size();
  for (const Output& output : record.outputs)
    batchOutputs.at(static_cast<std::size_t>(roleOf(output)))[output.file].push_back(batch.size());
  batch.push_back(std::move(record));
}

void Journal::commit()
{
  std::string lines;
  std::vector<std::size_t> lengths;
  for (const Record& record : batch)
  {
    const std::size_t before = lines.size();
    lines += toJson(record) + "\n";
    lengths.push_back(lines.size() - before);
  }
  if (broken || !base::writeAll(fd, lines) || fdatasync(fd.get()) != 0)
  {
    const JournalError failure = cannot(index.path(), "written"); // the next run drops a line that is not whole
    broken = true;
    throw failure;
  }
  for (std::size_t i = 0; i < batch.size(); ++i)
    index.append(batch[i], lengths[i]);
  batch.clear();
  batchInputs.clear();
  batchOutputs = {};
}

} // namespace tarn::archive
