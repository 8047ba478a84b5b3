#pragma once

#include "archive/journal/Journal.h"
#include "archive/run/Ledger.h"
#include "archive/run/OutputStore.h"

#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace tarn::archive
{

/// Which inputs that have a record are converted again.
enum class Again
{
  changed, ///< those whose size or time is another
  failed,  ///< these, and all that were not converted
  all
};

/// The ledger of a run with an output folder. It gives outputs their names and inputs their records so that after a
/// crash at any point no record speaks of an output that is not there whole: an input whose earlier outputs are to
/// change is marked as interrupted, on the disk, before the first of them does.
///
/// An output whose name another input has is a duplicate where its bytes are the same, and is lost with the reason
/// "name-taken" where they are not. What an earlier record of the input wrote, and the new one does not, is removed,
/// unless it is a duplicate of another input, which owns it then. An input that is not converted now, for a reason that
/// is not a change of its own, keeps what its earlier record wrote.
class Placement : public Ledger
{
public:
  /// Both are borrowed.
  Placement(Journal& journal, OutputStore& store, Again again) : journal(journal), store(store), again(again) {}

  std::optional<Outcome> accept(Record record, const std::vector<std::string>& workFiles) override;
  bool isDone(const std::string& input, const FileVersion& version) const override;
  std::size_t pending() const override { return journal.pending(); }
  void commit() override;

private:
  struct Step
  {
    std::size_t output;
    std::string workFile;
  };

  /// Outputs that an input has no longer.
  struct LeftOver
  {
    std::vector<std::string> stale;     ///< nobody else has them
    std::vector<std::string> inherited; ///< another input wrote the same
  };

  std::vector<Step> plan(Record& record, const std::vector<std::string>& workFiles,
                         const std::optional<Record>& previous);
  std::optional<Record> otherHolder(const Record& record, const std::string& file) const;
  LeftOver leftOver(const Record& record, const std::optional<Record>& previous) const;
  void place(const std::vector<Step>& steps, Record& record);
  void interrupt(Record previous);
  void passOn(const Record& formerOwner, const std::string& file);
  bool isOfThisRun(const std::string& input, const Known& known) const;

  Journal& journal;
  OutputStore& store;
  Again again;
  std::unordered_set<std::string> heirs; ///< inputs whose record of this run does not come from their conversion
};

} // namespace tarn::archive
