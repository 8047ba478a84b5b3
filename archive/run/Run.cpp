// The loop of a run: one thread that waits for the source, the workers and signals.
#include "archive/run/Run.h"

#include "archive/run/exitStatus.h"
#include "archive/run/packing.h"
#include "archive/journal/JournalReader.h"
#include "archive/journal/fileVersion.h"
#include "archive/run/StoreError.h"
#include "archive/run/clock.h"
#include "base/report.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <system_error>
#include <thread>
#include <utility>

#include <sys/signalfd.h>

namespace tarn::archive
{
namespace
{

constexpr int kTick = 100;                      ///< milliseconds between two looks at the clock
constexpr std::chrono::milliseconds kNap(1);    ///< workers have jobs for longer
constexpr std::int64_t kSecond = 1'000'000'000; ///< nanoseconds
constexpr std::size_t kBatch = 1024;            ///< records that are committed together at most
constexpr std::int64_t kLongestBatch = kSecond; ///< how long a record waits to be committed
constexpr std::size_t kQueue = 256;             ///< jobs that are taken from the source before workers take them
constexpr unsigned kMostStillborn = 8;          ///< for each seat
constexpr unsigned kAttempts = 2;               ///< of an input whose worker is killed from outside

Reason reasonOf(const WorkerEnd& gone)
{
  switch (gone.cause)
  {
  case WorkerEnd::Cause::timedOut:
    return {"timeout", "", 0};
  case WorkerEnd::Cause::outOfMemory:
    return {"out-of-memory", "", 0};
  case WorkerEnd::Cause::killed:
    return {"killed", gone.detail, 0};
  default:
    return {"crashed", gone.detail, 0};
  }
}

base::Fd signalsToWatch()
{
  sigset_t watched;
  sigemptyset(&watched);
  for (const int signal : {SIGINT, SIGTERM})
    sigaddset(&watched, signal);
  sigprocmask(SIG_BLOCK, &watched, nullptr);
  return base::Fd(signalfd(-1, &watched, SFD_CLOEXEC | SFD_NONBLOCK));
}

} // namespace

Run::Run(Crew& crew, Ledger& ledger, Progress& progress, int timeout)
  : crew(crew), ledger(ledger), progress(progress), timeout(timeout * kSecond), finished(crew.size()),
    signals(signalsToWatch())
{
}

Run::~Run() = default;

RunResult Run::go(Source& from, const std::vector<std::string>& folders)
{
  source = &from;
  workFolders = folders;
  lastCommit = steadyNow();
  while (!isOver())
  {
    if (takesNewJobs())
      crew.fill([this] { source->closePipe(); });
    while (takesNewJobs() && !queue.empty() && crew.give(queue.front()))
      queue.pop_front();
    crew.flush();
    wait();
    crew.killLate(timeout);
    commitWhenDue();
    count();
    progress.show(counted);
  }
  guarded([this] { ledger.commit(); });
  count();
  return {counted, stop};
}

void Run::count()
{
  counted.passed = crew.passed() + others;
  counted.known = crew.known() + knownByList;
  counted.foreign = crew.foreign();
}

bool Run::isOver() const
{
  return crew.isIdle() && (!takesNewJobs() || (sourceEnded && queue.empty()));
}

/// What is told in the meantime is taken in together: a wake-up for each frame would cost more than the frame.
void Run::wait()
{
  if (!crew.isIdle())
    std::this_thread::sleep_for(kNap);
  std::vector<pollfd> watched;
  crew.watch(watched);
  const bool needsInputs = takesNewJobs() && !sourceEnded && queue.size() < kQueue;
  watched.push_back({needsInputs ? source->fd().get() : -1, POLLIN, 0});
  watched.push_back({signals.get(), POLLIN, 0});
  if (poll(watched.data(), watched.size(), kTick) < 0 && errno != EINTR)
    throw std::system_error(errno, std::generic_category(), "cannot wait for the workers");
  for (unsigned seat = 0; seat < crew.size(); ++seat)
    if (watched[seat].revents != 0)
      listen(seat);
  if (watched[crew.size()].revents != 0)
    takeFromSource();
  if (watched[crew.size() + 1].revents != 0)
    handleSignal();
}

void Run::takeFromSource()
{
  const bool more = source->receive();
  while (const std::optional<Frame> frame = source->next())
    handleSource(*frame);
  if (!more && !sourceEnded)
  {
    sourceEnded = true;
    stopFor(exitStatus::kTryAgain, "the search for inputs ended early");
  }
}

void Run::handleSource(const Frame& frame)
{
  switch (frame.type)
  {
  case fromSource::kFound:
  case fromSource::kListed:
  case fromSource::kChosen:
    queue.push_back({0, frame.type, frame.text});
    break;
  case fromSource::kRecord:
    if (Record record = unpackedRecord(frame.text); ledger.isDone(record.input, {record.size, record.mtime}))
      ++knownByList;
    else
      accept(std::move(record), {});
    break;
  case fromSource::kOther:
    others += std::stoull(frame.text);
    break;
  case fromSource::kExpected:
    counted.expected += std::stoull(frame.text);
    break;
  case fromSource::kProblem:
    ++counted.problems;
    progress.line(frame.text);
    break;
  case fromSource::kFailure:
    sourceEnded = true;
    stopFor(std::stoi(frame.text), frame.text.substr(frame.text.find(' ') + 1));
    break;
  default:
    sourceEnded = true;
  }
}

void Run::listen(unsigned seat)
{
  const bool lives = crew.receive(seat);
  while (const std::optional<Frame> frame = crew.next(seat))
    handle(seat, *frame);
  if (!lives)
    handleEnd(seat);
}

void Run::handle(unsigned seat, const Frame& frame)
{
  switch (frame.type)
  {
  case fromWorker::kOutput:
  {
    const std::size_t feed = frame.text.find('\n');
    finished[seat].emplace(std::stoull(frame.text.substr(0, feed)), unpackedOutput(frame.text.substr(feed + 1)));
    break;
  }
  case fromWorker::kRecord:
    handleRecord(seat, unpackedRecord(frame.text));
    break;
  case fromWorker::kDone:
    stillborn = 0;
    crew.drop(seat, std::stoull(frame.text));
    break;
  default:
    stopFor(exitStatus::kTryAgain, frame.text);
  }
}

/// The outputs of the record are those that the worker has told of before it.
void Run::handleRecord(unsigned seat, Record record)
{
  std::vector<std::string> files;
  for (auto& [number, output] : std::exchange(finished[seat], {}))
  {
    record.outputs.push_back(std::move(output));
    files.push_back(workFolders[seat] + "/" + std::to_string(number));
  }
  accept(std::move(record), files);
}

void Run::accept(Record record, const std::vector<std::string>& workFiles)
{
  guarded(
      [&]
      {
        if (const std::optional<Outcome> outcome = ledger.accept(std::move(record), workFiles))
          ++counted.outcomes.at(static_cast<std::size_t>(*outcome));
      });
}

/// Whatever keeps outputs and records from the disk ends the run.
template <class Work>
void Run::guarded(Work work)
{
  try
  {
    work();
  }
  catch (const StoreError& failure)
  {
    stopFor(exitStatus::kTryAgain, failure.what());
  }
  catch (const JournalError& failure)
  {
    stopFor(exitStatus::kTryAgain, failure.what());
  }
}

void Run::handleEnd(unsigned seat)
{
  WorkerEnd gone = crew.end(seat);
  if (gone.hadJob && !hurried && isToBlame(gone, gone.jobs.front()))
  {
    blame(seat, gone);
    gone.jobs.erase(gone.jobs.begin());
  }
  countStillborn(gone);
  finished[seat].clear();
  queue.insert(queue.begin(), std::make_move_iterator(gone.jobs.begin()), std::make_move_iterator(gone.jobs.end()));
}

/// Workers that cannot even begin, for want of memory or a library, would be started for ever.
void Run::countStillborn(const WorkerEnd& gone)
{
  stillborn = gone.hadJob ? 0 : stillborn + 1;
  if (stillborn > kMostStillborn * crew.size())
    stopFor(exitStatus::kTryAgain, "the workers end before they begin: " + gone.detail);
}

/// What kills a worker from outside need not come of its input: that is tried once more.
bool Run::isToBlame(const WorkerEnd& gone, const Job& job)
{
  return gone.cause != WorkerEnd::Cause::killed || ++attempts[job.path] >= kAttempts;
}

/// The record of an input that ended its worker. Outputs that were whole by then stand in it, with their lines: nobody
/// knows of others.
void Run::blame(unsigned seat, const WorkerEnd& gone)
{
  Record record;
  record.input = gone.jobs.front().path;
  const FileVersion version = versionOf(record.input);
  record.size = version.size;
  record.mtime = version.mtime;
  record.outcome = gone.cause == WorkerEnd::Cause::timedOut ? Outcome::timeout : Outcome::crashed;
  record.reasons.push_back(reasonOf(gone));
  for (const auto& [number, output] : finished[seat])
    for (const auto& [kind, lines] : output.annotations)
    {
      record.annotations[kind].read += lines;
      record.annotations[kind].written += lines;
    }
  handleRecord(seat, std::move(record));
}

void Run::handleSignal()
{
  signalfd_siginfo caught = {};
  if (read(signals.get(), &caught, sizeof caught) != static_cast<ssize_t>(sizeof caught))
    return;
  const int number = static_cast<int>(caught.ssi_signo);
  hurried = hurried || stop.status > exitStatus::kSignal; // asked twice: what runs is not waited for
  if (hurried)
    crew.killLate(0);
  stopFor(exitStatus::kSignal + number, "");
}

void Run::commitWhenDue()
{
  const std::int64_t now = steadyNow();
  if (ledger.pending() < kBatch && now - lastCommit < kLongestBatch)
    return;
  lastCommit = now;
  guarded([this] { ledger.commit(); });
}

/// The first reason stands. What runs is finished; nothing new is begun.
void Run::stopFor(int status, const std::string& reason)
{
  if (stop.status == 0)
    stop = {status, reason};
  crew.askToStop();
}

} // namespace tarn::archive
