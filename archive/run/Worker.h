#pragma once

#include "archive/run/Frames.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace tarn::archive
{

/// A file that a worker is to look at.
struct Job
{
  std::uint64_t number = 0; ///< ascending for each worker, given by Worker::send()
  char origin = '\0';       ///< as the source told of it: fromSource::kFound, kListed or kChosen
  std::string path;
};

/// What a worker is doing, in memory that the run sees too: it is known also of one that died.
struct WorkerState
{
  std::atomic<std::uint64_t> job{0};     ///< number of the job that it does, or did last
  std::atomic<std::int64_t> since{0};    ///< when it began it, nanoseconds of the steady clock; 0 between two jobs
  std::atomic<std::uint64_t> passed{0};  ///< files that are no presentation states
  std::atomic<std::uint64_t> known{0};   ///< inputs that were done before
  std::atomic<std::uint64_t> foreign{0}; ///< inputs of other shards
  std::atomic<bool> stop{false};         ///< it is to begin nothing new
};

/// Frames from a worker to the run.
namespace fromWorker
{
constexpr char kOutput = 'o'; ///< an output that is whole: its file in the working folder, a line feed, itself packed
constexpr char kRecord = 'r'; ///< the job's record, packed
constexpr char kDone = 'd';   ///< the number of a job, in decimal: all up to it are done
constexpr char kStop = 's';   ///< why nothing more can be done by anybody; the job's record is not made
} // namespace fromWorker

/// The worker's side of its pipes.
class WorkerSide
{
public:
  WorkerSide(base::Fd jobs, base::Fd results, WorkerState& state)
    : jobs(std::move(jobs)), results(std::move(results)), state(state)
  {
  }

  /// Waits for a job; nothing when there are no more, or none is to be begun.
  std::optional<Job> next();
  /// Whether a job can be had without waiting.
  bool hasNext() const { return jobs.hasNext(); }
  /// Tells the run; a worker whose run is gone ends.
  void tell(char type, const std::string& text) const;

private:
  FrameReader jobs;
  base::Fd results;

public:
  WorkerState& state; ///< shared with the run
};

/// The exit status of a worker that had not the memory for its job.
constexpr int kOutOfMemory = 77;

/// What came of waiting for a worker.
enum class Heard
{
  something,
  nothing, ///< in the time that it had
  end      ///< it has ended
};

/// A process that does jobs, as the run sees it.
class Worker
{
public:
  using Main = std::function<void(WorkerSide&)>;

  /// Forks. In the new process: runs `prepare` (which closes what is not its own), limits the memory that it may take
  /// to `memory` bytes (0: no limit), runs `main` and ends; it is killed when its parent dies. Throws
  /// std::system_error.
  Worker(WorkerState& state, std::uint64_t memory, const std::function<void()>& prepare, const Main& main);
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;
  ~Worker();

  const base::Fd& fd() const { return results.fd(); }
  /// Takes in what it has said; false once it has ended.
  [[nodiscard]] bool receive();
  /// The same, for so many milliseconds at most.
  [[nodiscard]] Heard receiveWithin(int milliseconds);
  std::optional<Frame> next() { return results.next(); }

  /// Whether a job with a path of so many bytes can be sent without waiting. A worker that has nothing to do reads what
  /// it is sent, however long.
  bool takes(std::size_t bytes) const
  {
    return waiting.empty() || (sentBytes + bytes <= mostSent && waiting.size() < kMostJobs);
  }
  /// What is sent goes out with flush().
  void send(Job job);
  void flush();
  /// Jobs up to `number` are done.
  void drop(std::uint64_t number);
  void dropAll() { drop(lastNumber); }
  std::size_t jobsWaiting() const { return waiting.size(); }
  /// Whether it is at one job, or has begun none of those that it was sent, since before `time` of the steady clock.
  bool isStuckSince(std::int64_t time) const;
  /// The job of that number, where it is not done.
  const Job* job(std::uint64_t number) const;
  /// Takes the jobs that are not done.
  std::vector<Job> takeJobs();

  void kill();
  bool wasKilled() const { return killed; } ///< by kill()
  /// Waits for its end and returns its status as waitpid() gives it.
  int wait();
  void closePipes();

  WorkerState& state;

private:
  static constexpr std::size_t kMostJobs = 128;

  pid_t pid = -1;
  base::Fd jobs;
  FrameReader results;
  std::vector<Job> waiting; ///< sent and not done, in order
  std::string unsent;       ///< frames that are not in the pipe yet
  std::uint64_t lastNumber = 0;
  std::size_t sentBytes = 0; ///< of paths
  std::int64_t heard = 0;    ///< when it said something, or got work after it had none
  std::size_t mostSent = 0;  ///< less than the pipe holds
  bool killed = false;
};

} // namespace tarn::archive
