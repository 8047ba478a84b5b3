#pragma once

#include "archive/run/Worker.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <poll.h>

namespace tarn::archive
{

/// How a worker ended that was not asked to.
struct WorkerEnd
{
  enum class Cause
  {
    crashed,     ///< a signal of its own doing, or an exit
    outOfMemory, ///< it had not the memory for its job
    killed,      ///< by somebody else
    timedOut     ///< by Crew::killLate()
  };
  Cause cause = Cause::crashed;
  std::string detail;    ///< "SIGSEGV", "exit status 3"
  bool hadJob = false;   ///< it was doing `jobs.front()`
  std::vector<Job> jobs; ///< that it had not done
};

/// The workers of a run: a fixed number of seats, each with a process that is replaced when it dies.
class Crew
{
public:
  /// What a worker's process does, given the number of its seat.
  using Main = std::function<void(WorkerSide& run, unsigned seat)>;

  /// `memory` bounds each worker's address space in bytes (0: no bound). No worker is started yet.
  Crew(unsigned seats, std::uint64_t memory, Main main);
  ~Crew();
  Crew(const Crew&) = delete;
  Crew& operator=(const Crew&) = delete;

  unsigned size() const { return static_cast<unsigned>(workers.size()); }
  /// Starts a process in every empty seat. `prepare` runs in the new process first, to close what is the run's alone.
  /// Throws std::system_error.
  void fill(const std::function<void()>& prepare);

  /// Gives the job to the worker with the fewest, and takes it from `job`; false when none takes it without waiting.
  [[nodiscard]] bool give(Job& job);
  /// Has the workers see what they were given.
  void flush();
  bool isIdle() const;

  /// Appends what has to be watched, one entry a seat, for poll().
  void watch(std::vector<pollfd>& entries) const;
  /// Takes in what the worker has said. False when it has ended: then end() tells how, and its seat is empty.
  [[nodiscard]] bool receive(unsigned seat);
  std::optional<Frame> next(unsigned seat);
  /// Jobs of the seat up to `number` are done.
  void drop(unsigned seat, std::uint64_t number);
  const Job* job(unsigned seat, std::uint64_t number) const;
  WorkerEnd end(unsigned seat);

  /// Has the workers end after the jobs that they are at.
  void askToStop();
  /// Kills workers that have been at one job for longer, or have left what they were sent for so long.
  void killLate(std::int64_t nanoseconds);

  /// Sums over all workers, also those that have gone.
  std::uint64_t passed() const { return sum(&WorkerState::passed); }
  std::uint64_t known() const { return sum(&WorkerState::known); }
  std::uint64_t foreign() const { return sum(&WorkerState::foreign); }

private:
  std::uint64_t sum(std::atomic<std::uint64_t> WorkerState::*counter) const;

  std::uint64_t memory;
  Main main;
  WorkerState* states; ///< one a seat, in memory that is shared with the workers
  std::vector<std::unique_ptr<Worker>> workers;
};

} // namespace tarn::archive
