#pragma once

#include "archive/journal/Record.h"
#include "archive/journal/fileVersion.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tarn::archive
{

/// Where the records of a run go, and with them the names of its outputs. Operations throw StoreError and JournalError
/// where nothing more can be written.
class Ledger
{
public:
  virtual ~Ledger() = default;

  /// Takes the record of an input whose outputs lie in `workFiles`, one each, in their order. Returns the outcome as it
  /// was recorded; nothing for an input that has its record of this run already.
  virtual std::optional<Outcome> accept(Record record, const std::vector<std::string>& workFiles) = 0;
  /// Whether the input of that version needs no further work.
  virtual bool isDone(const std::string& input, const FileVersion& version) const = 0;
  /// Records that were accepted and are not on the disk.
  virtual std::size_t pending() const = 0;
  /// Returns when all that was accepted is on the disk, outputs before records.
  virtual void commit() = 0;
};

} // namespace tarn::archive
