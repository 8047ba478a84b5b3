// The worker processes of a run, and what is known of one that died.
#include "archive/run/Crew.h"

#include "archive/run/clock.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <new>
#include <system_error>

#include <sys/mman.h>
#include <sys/wait.h>

namespace tarn::archive
{
namespace
{

WorkerState* sharedStates(unsigned count)
{
  void* const memory =
      // cppcheck-suppress invalidFunctionArg ; no file is mapped
      mmap(nullptr, count * sizeof(WorkerState), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED)
    throw std::system_error(errno, std::generic_category(), "no memory for the workers");
  auto* const states = static_cast<WorkerState*>(memory);
  for (unsigned i = 0; i < count; ++i)
    new (states + i) WorkerState;
  return states;
}

/// Signals by which somebody else ends a process; the others come from what it does.
bool isFromOutside(int signal)
{
  return signal == SIGKILL || signal == SIGTERM || signal == SIGINT || signal == SIGHUP || signal == SIGQUIT;
}

void tellCause(WorkerEnd& end, int status, bool wasKilled)
{
  if (WIFSIGNALED(status))
  {
    end.detail = std::string("SIG") + sigabbrev_np(WTERMSIG(status));
    end.cause = wasKilled                         ? WorkerEnd::Cause::timedOut
                : isFromOutside(WTERMSIG(status)) ? WorkerEnd::Cause::killed
                                                  : WorkerEnd::Cause::crashed;
    return;
  }
  end.detail = "exit status " + std::to_string(WEXITSTATUS(status));
  end.cause = WEXITSTATUS(status) == kOutOfMemory ? WorkerEnd::Cause::outOfMemory : WorkerEnd::Cause::crashed;
}

} // namespace

Crew::Crew(unsigned seats, std::uint64_t memory, Main main)
  : memory(memory), main(std::move(main)), states(sharedStates(seats)), workers(seats)
{
}

Crew::~Crew()
{
  const std::size_t seats = workers.size();
  workers.clear(); // they end before what they write into goes
  munmap(states, seats * sizeof(WorkerState));
}

void Crew::fill(const std::function<void()>& prepare)
{
  const auto closeOthers = [&]
  {
    prepare();
    for (const auto& worker : workers)
      if (worker)
        worker->closePipes();
  };
  for (unsigned seat = 0; seat < size(); ++seat)
    if (!workers[seat])
    {
      states[seat].job = 0;
      states[seat].since = 0;
      workers[seat] = std::make_unique<Worker>(states[seat], memory, closeOthers,
                                               [&, seat](WorkerSide& side) { main(side, seat); });
    }
}

bool Crew::give(Job& job)
{
  Worker* freest = nullptr;
  for (const auto& worker : workers)
    if (worker && worker->takes(job.path.size()) && (!freest || worker->jobsWaiting() < freest->jobsWaiting()))
      freest = worker.get();
  if (freest)
    freest->send(std::move(job));
  return freest != nullptr;
}

void Crew::flush()
{
  for (const auto& worker : workers)
    if (worker)
      worker->flush();
}

bool Crew::isIdle() const
{
  return std::all_of(workers.begin(), workers.end(),
                     [](const auto& worker) { return !worker || worker->jobsWaiting() == 0; });
}

void Crew::watch(std::vector<pollfd>& entries) const
{
  for (const auto& worker : workers)
    entries.push_back({worker ? worker->fd().get() : -1, POLLIN, 0});
}

bool Crew::receive(unsigned seat)
{
  return workers[seat]->receive();
}

std::optional<Frame> Crew::next(unsigned seat)
{
  return workers[seat] ? workers[seat]->next() : std::nullopt;
}

void Crew::drop(unsigned seat, std::uint64_t number)
{
  workers[seat]->drop(number);
}

const Job* Crew::job(unsigned seat, std::uint64_t number) const
{
  return workers[seat]->job(number);
}

WorkerEnd Crew::end(unsigned seat)
{
  const std::unique_ptr<Worker> gone = std::move(workers[seat]);
  WorkerEnd end;
  tellCause(end, gone->wait(), gone->wasKilled());
  const std::uint64_t current = states[seat].job;
  if (current > 0)
    gone->drop(current - 1);
  end.hadJob = states[seat].since != 0 && gone->job(current);
  end.jobs = gone->takeJobs();
  return end;
}

void Crew::askToStop()
{
  for (unsigned seat = 0; seat < size(); ++seat)
    states[seat].stop = true;
}

void Crew::killLate(std::int64_t nanoseconds)
{
  const std::int64_t oldest = steadyNow() - nanoseconds;
  for (const auto& worker : workers)
    if (worker && worker->isStuckSince(oldest))
      worker->kill();
}

std::uint64_t Crew::sum(std::atomic<std::uint64_t> WorkerState::*counter) const
{
  std::uint64_t total = 0;
  for (unsigned seat = 0; seat < size(); ++seat)
    total += states[seat].*counter;
  return total;
}

} // namespace tarn::archive
