// The process that finds the inputs of a run.
#include "archive/run/Source.h"

#include "archive/run/exitStatus.h"
#include "archive/inputs/NameList.h"
#include "archive/inputs/shard.h"
#include "archive/inputs/walkPaths.h"
#include "archive/journal/Record.h"
#include "archive/journal/fileVersion.h"
#include "archive/journal/inventory.h"
#include "archive/run/childProcess.h"
#include "archive/run/packing.h"
#include "base/text.h"
#include "db/DBException.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <stdexcept>
#include <system_error>

#include <sys/wait.h>
#include <unistd.h>

namespace tarn::archive
{
namespace
{

/// What goes to the run. A run that is gone ends the process.
class Teller
{
public:
  explicit Teller(base::Fd pipe) : pipe(std::move(pipe)) {}

  void tell(char type, const std::string& text) const
  {
    if (!writeFrame(pipe, type, text))
      _exit(EXIT_FAILURE);
  }

private:
  base::Fd pipe;
};

void walkAll(const SourceOptions& options, const Teller& run)
{
  std::uint64_t others = 0;
  const WalkSink found{[&](const std::string& path) { run.tell(fromSource::kFound, path); }, [&] { ++others; },
                       [&](const std::string& line) { run.tell(fromSource::kProblem, line); }};
  walkPaths(options.paths, options.leaveOut, found,
            [&](const std::string& path) { run.tell(fromSource::kListed, path); });
  run.tell(fromSource::kOther, std::to_string(others));
}

void readNames(const std::string& file, bool nulTerminated, const Teller& run)
{
  NameList names(file, nulTerminated ? '\0' : '\n');
  run.tell(fromSource::kExpected, std::to_string(names.count()));
  for (std::string name; names.next(name);)
    if (name.find('\0') != std::string::npos)
      throw std::runtime_error(file + " holds names that end with a NUL: --null is missing");
    else if (name.size() >= PATH_MAX)
      run.tell(fromSource::kProblem, base::joined("a name of ", name.size(), " bytes is none of a file"));
    else if (!name.empty())
      run.tell(fromSource::kListed, absolutePath(name));
}

InventoryEntry entryIn(const std::string& line, const std::string& file)
{
  try
  {
    return entryFrom(line);
  }
  catch (const std::exception&)
  {
    throw std::runtime_error(file + " has a line that is no entry of an inventory: " + line.substr(0, 80));
  }
}

/// Whether there is nothing to convert. What became of the file since the survey may have something.
bool isNothing(const InventoryEntry& entry)
{
  if (entry.hasPluginState)
    return false;
  const FileVersion now = versionOf(entry.input);
  return now.size == entry.size && now.mtime == entry.mtime;
}

void readInventory(const SourceOptions& options, const Teller& run)
{
  NameList lines(*options.inventory, '\n');
  run.tell(fromSource::kExpected, std::to_string(lines.count() / options.studies.shards));
  for (std::string line; lines.next(line);)
  {
    const InventoryEntry entry = entryIn(line, *options.inventory);
    if (!isOfShard(entry.study, entry.input, options.studies.shard, options.studies.shards))
      continue;
    if (isNothing(entry))
      run.tell(fromSource::kRecord, packed(recordOf(entry)));
    else
      run.tell(fromSource::kChosen, entry.input);
  }
}

void produce(const SourceOptions& options, const Teller& run)
{
  walkAll(options, run);
  if (options.filesFrom)
    readNames(*options.filesFrom, options.nulTerminated, run);
  if (options.inventory)
    readInventory(options, run);
  if (options.studies.all || options.studies.listFile)
    findStudyInputs(options.studies, {[&](const std::string& path) { run.tell(fromSource::kChosen, path); },
                                      [&](const std::string& line) { run.tell(fromSource::kProblem, line); }});
}

[[noreturn]] void runSource(const SourceOptions& options, base::Fd pipe)
{
  const Teller run(std::move(pipe));
  try
  {
    produce(options, run);
    run.tell(fromSource::kEnd, "");
  }
  catch (const db::DBException& failure)
  {
    run.tell(fromSource::kFailure, base::joined(exitStatus::kTryAgain, " ", failure.what()));
  }
  catch (const RepositoryUnreachable& failure)
  {
    run.tell(fromSource::kFailure, base::joined(exitStatus::kTryAgain, " ", failure.what()));
  }
  catch (const std::exception& failure)
  {
    run.tell(fromSource::kFailure, base::joined(exitStatus::kUsage, " ", failure.what()));
  }
  _exit(EXIT_SUCCESS);
}

} // namespace

Source::Source(const SourceOptions& options)
{
  Pipe toRun;
  const pid_t parent = getpid();
  pid = fork();
  if (pid < 0)
    throw std::system_error(errno, std::generic_category(), "cannot start the search for inputs");
  if (pid == 0)
  {
    leaveSignalsToTheRun(parent);
    toRun.readEnd = base::Fd();
    runSource(options, std::move(toRun.writeEnd));
  }
  frames = FrameReader(std::move(toRun.readEnd));
}

Source::~Source()
{
  kill(pid, SIGKILL); // a run that is stopped waits for no slow folder
  while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR)
  {
  }
}

} // namespace tarn::archive
