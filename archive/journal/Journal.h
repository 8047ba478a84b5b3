#pragma once

#include "archive/journal/JournalHeader.h"
#include "archive/journal/JournalIndex.h"
#include "archive/journal/Record.h"
#include "archive/journal/fileVersion.h"
#include "base/Fd.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace tarn::archive
{

/// What the journal of a run holds of an input.
struct Known
{
  Outcome outcome = Outcome::converted;
  bool sameVersion = false; ///< size and time are those of the file now
  bool thisRun = false;     ///< the record was made since the journal was opened
};

/// The journal that a run appends to: OUT/journal/I-of-N.jsonl. It is locked against other runs as long as it is open.
/// Records are added to a batch, and stand when commit() returns.
class Journal
{
public:
  /// Opens the journal of `header` in `folder`, which exists, or makes it. A line at the end that was not finished is
  /// dropped. Throws JournalMisfit where another run uses it, and where the journals of the folder are of another form
  /// or number of shards; JournalError where it cannot be read or written.
  Journal(const std::string& folder, const JournalHeader& header);

  /// The last record of the input of that name, pending ones included; nothing when there is none. May be called in a
  /// process that was forked, which sees what stood then.
  std::optional<Known> find(const std::string& input, const FileVersion& now) const;
  /// The whole record.
  std::optional<Record> read(const std::string& input) const;
  /// An input other than `except` whose last record has the output `file`, in the role given; nothing when none has.
  std::optional<std::string> holderOf(const std::string& file, Role role, const std::string& except = {}) const;

  void add(Record record);
  std::size_t pending() const { return batch.size(); }
  /// Appends the batch and returns when it is on the disk. Throws JournalError; nothing of the batch counts then, and
  /// no further batch is taken.
  void commit();

  /// What was committed.
  const JournalIndex& committed() const { return index; }
  /// For a process that was forked: leaves the lock to its parent.
  void leaveLock() { fd = base::Fd(); }

private:
  base::Fd fd; ///< for appending
  JournalIndex index;
  std::uint64_t runStart; ///< size when it was opened
  bool broken = false;    ///< a batch could not be written
  std::vector<Record> batch;
  std::unordered_map<std::string, std::size_t> batchInputs; ///< place of the last record in `batch`, by name
  /// Places of the records that have an output, by role and name.
  std::array<std::unordered_map<std::string, std::vector<std::size_t>>, kRoles> batchOutputs;
};

} // namespace tarn::archive
