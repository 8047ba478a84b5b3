#pragma once

#include "archive/inputs/FileLook.h"
#include "archive/journal/Record.h"
#include "archive/journal/fileVersion.h"
#include "archive/run/Ledger.h"
#include "archive/run/OutputWriter.h"
#include "archive/run/Worker.h"
#include "db/DBConnectorSql.h"

#include <string>

namespace tarn::archive
{

/// What is the same for all inputs of a run.
struct ConvertOptions
{
  bool touchObjectCache = true;
  unsigned shard = 1; ///< only inputs of this share are converted
  unsigned shards = 1;
  bool conformant = false;  ///< the form of the outputs
  std::string imagesFolder; ///< where images are looked for besides the data repository; empty for none
};

/// What a worker does with the files that it is given: passes over what is no presentation state, leaves what is done
/// or another shard's, converts the rest and tells the run what became of each.
class InputConverter
{
public:
  /// Borrows `run` and `ledger`, and writes outputs to `workFolder`; an empty one writes none.
  InputConverter(const ConvertOptions& options, const Ledger& ledger, WorkerSide& run, std::string workFolder);

  /// Returns when there are no more jobs, or nothing more can be done.
  void work();

private:
  /// Throws DBException and StoreError where nobody can go on.
  void handle(const Job& job);
  void convert(const Job& job, const FileVersion& version);
  void tellUnread(const Job& job, const FileLook& look);
  void tell(Record record);
  void requireDatabase();
  bool isForeign(const std::string& studyUid, const Job& job) const;

  ConvertOptions options;
  const Ledger& ledger;
  WorkerSide& run;
  db::DBConnectorSql db{db::Missing::refuse};
  ConformantForm form{db, options.imagesFolder};
  OutputWriter outputs;
  std::int64_t begun = 0; ///< of the job, nanoseconds
};

} // namespace tarn::archive
