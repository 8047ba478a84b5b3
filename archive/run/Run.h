#pragma once

#include "archive/run/Crew.h"
#include "archive/run/Ledger.h"
#include "archive/run/Progress.h"
#include "archive/run/RunTotals.h"
#include "archive/run/Source.h"

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace tarn::archive
{

/// Why a run ended before its inputs did.
struct RunStop
{
  int status = 0;     ///< exit status; 0: it did not
  std::string reason; ///< one line
};

struct RunResult
{
  RunTotals totals;
  RunStop stop;
};

/// Leads inputs from a source to the workers, and what these say of them to a ledger. An input that kills its
/// worker, or takes too long, costs that input alone.
class Run
{
public:
  /// Borrows all. A job that takes longer than `timeout` seconds is given up.
  Run(Crew& crew, Ledger& ledger, Progress& progress, int timeout);
  ~Run();
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  /// Returns when all inputs are done, when a signal asked for the end, or when nothing more can be written or asked.
  RunResult go(Source& source, const std::vector<std::string>& workFolders);

private:
  using Outputs = std::map<std::uint64_t, Output>; ///< by the number of its file in the working folder

  bool takesNewJobs() const { return stop.status == 0; }
  bool isOver() const;
  void wait();
  void takeFromSource();
  void handleSource(const Frame& frame);
  void listen(unsigned seat);
  void handle(unsigned seat, const Frame& frame);
  void handleRecord(unsigned seat, Record record);
  void handleEnd(unsigned seat);
  void countStillborn(const WorkerEnd& gone);
  bool isToBlame(const WorkerEnd& gone, const Job& job);
  void blame(unsigned seat, const WorkerEnd& gone);
  void handleSignal();
  void accept(Record record, const std::vector<std::string>& workFiles);
  void commitWhenDue();
  template <class Work>
  void guarded(Work work);
  void stopFor(int status, const std::string& reason);
  void count();

  Crew& crew;
  Ledger& ledger;
  Progress& progress;
  std::int64_t timeout; ///< nanoseconds
  Source* source = nullptr;
  std::vector<std::string> workFolders; ///< one a seat
  bool sourceEnded = false;
  std::deque<Job> queue;         ///< to be given to workers
  std::vector<Outputs> finished; ///< by seat: outputs of the job that it does
  base::Fd signals;
  std::unordered_map<std::string, unsigned> attempts; ///< of inputs whose worker was killed from outside
  unsigned stillborn = 0;                             ///< workers in a row that ended before they had done anything
  std::int64_t lastCommit = 0;
  bool hurried = false; ///< asked twice to stop
  RunTotals counted;
  std::uint64_t others = 0;      ///< things that the source met and that are no files
  std::uint64_t knownByList = 0; ///< inputs of an inventory that were done before
  RunStop stop;
};

} // namespace tarn::archive
