// Worker processes and what goes between them and the run.
#include "archive/run/Worker.h"

#include "archive/run/childProcess.h"
#include "archive/run/clock.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <new>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tarn::archive
{
namespace
{

std::string encodedJob(const Job& job)
{
  return std::to_string(job.number) + " " + job.origin + job.path;
}

Job decodedJob(const std::string& text)
{
  const std::size_t blank = text.find(' ');
  return {std::stoull(text.substr(0, blank)), text.at(blank + 1), text.substr(blank + 2)};
}

/// What of a pipe is filled with paths: pages are not always filled, and each path has a header.
constexpr std::size_t kShare = 4;

/// Bytes that the pipe holds. Users with many pipes get small ones.
std::size_t capacityOf(const base::Fd& pipe)
{
  const int bytes = fcntl(pipe.get(), F_GETPIPE_SZ);
  return bytes > 0 ? static_cast<std::size_t>(bytes) : PIPE_BUF;
}

/// Bounds the address space to what the process has now and `bytes` more.
void limitMemory(std::uint64_t bytes)
{
  std::uint64_t pages = 0;
  if (bytes == 0 || !(std::ifstream("/proc/self/statm") >> pages))
    return;
  const rlim_t most = pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) + bytes;
  const rlimit limit{most, most};
  setrlimit(RLIMIT_AS, &limit);
}

} // namespace

std::optional<Job> WorkerSide::next()
{
  for (;;)
  {
    if (state.stop)
      return std::nullopt;
    if (const std::optional<Frame> frame = jobs.next())
      return decodedJob(frame->text);
    if (!jobs.receive())
      return std::nullopt;
  }
}

void WorkerSide::tell(char type, const std::string& text) const
{
  if (!writeFrame(results, type, text))
    _exit(EXIT_FAILURE);
}

Worker::Worker(WorkerState& state, std::uint64_t memory, const std::function<void()>& prepare, const Main& main)
  : state(state), results(base::Fd())
{
  Pipe toWorker;
  Pipe fromWorker;
  const pid_t parent = getpid();
  pid = fork();
  if (pid < 0)
    throw std::system_error(errno, std::generic_category(), "cannot start a worker");
  if (pid == 0)
  {
    leaveSignalsToTheRun(parent);
    prepare();
    limitMemory(memory);
    toWorker.writeEnd = base::Fd();
    fromWorker.readEnd = base::Fd();
    WorkerSide side(std::move(toWorker.readEnd), std::move(fromWorker.writeEnd), state);
    std::set_new_handler([] { _exit(kOutOfMemory); }); // also where the toolkit would report it as a bad file
    try
    {
      main(side);
    }
    catch (...)
    {
      std::abort();
    }
    _exit(EXIT_SUCCESS);
  }
  jobs = std::move(toWorker.writeEnd);
  mostSent = capacityOf(jobs) / kShare;
  results = FrameReader(std::move(fromWorker.readEnd));
}

Worker::~Worker()
{
  if (pid < 0)
    return;
  kill();
  static_cast<void>(wait());
}

bool Worker::receive()
{
  heard = steadyNow();
  return results.receive();
}

Heard Worker::receiveWithin(int milliseconds)
{
  pollfd entry{fd().get(), POLLIN, 0};
  int ready = -1;
  do
    ready = poll(&entry, 1, milliseconds);
  while (ready < 0 && errno == EINTR);
  if (ready <= 0)
    return Heard::nothing;
  return receive() ? Heard::something : Heard::end;
}

bool Worker::isStuckSince(std::int64_t time) const
{
  const std::int64_t since = state.since;
  return since != 0 ? since < time : !waiting.empty() && heard < time;
}

void Worker::send(Job job)
{
  if (waiting.empty())
    heard = steadyNow();
  job.number = ++lastNumber;
  sentBytes += job.path.size();
  unsent += encoded('j', encodedJob(job));
  waiting.push_back(std::move(job));
}

void Worker::flush()
{
  static_cast<void>(unsent.empty() || base::writeAll(jobs, unsent)); // one that has died is noticed by its other pipe
  unsent.clear();
}

void Worker::drop(std::uint64_t number)
{
  const auto end =
      std::find_if(waiting.begin(), waiting.end(), [number](const Job& job) { return job.number > number; });
  for (auto job = waiting.begin(); job != end; ++job)
    sentBytes -= job->path.size();
  waiting.erase(waiting.begin(), end);
}

const Job* Worker::job(std::uint64_t number) const
{
  const auto found =
      std::find_if(waiting.begin(), waiting.end(), [number](const Job& job) { return job.number == number; });
  return found == waiting.end() ? nullptr : &*found;
}

std::vector<Job> Worker::takeJobs()
{
  sentBytes = 0;
  return std::exchange(waiting, {});
}

void Worker::kill()
{
  killed = true;
  ::kill(pid, SIGKILL);
}

int Worker::wait()
{
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR)
  {
  }
  pid = -1;
  return status;
}

void Worker::closePipes()
{
  jobs = base::Fd();
  results = FrameReader(base::Fd());
}

} // namespace tarn::archive
