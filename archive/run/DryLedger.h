#pragma once

#include "archive/run/Ledger.h"

#include <string>
#include <unordered_set>
#include <vector>

namespace tarn::archive
{

/// The ledger of a run that only tries: records go to standard output, and nothing is kept.
class DryLedger : public Ledger
{
public:
  std::optional<Outcome> accept(Record record, const std::vector<std::string>& workFiles) override;
  bool isDone(const std::string& /*input*/, const FileVersion& /*version*/) const override { return false; }
  std::size_t pending() const override { return 0; }
  /// Throws StoreError where standard output takes no more.
  void commit() override;

private:
  std::unordered_set<std::size_t> seen; ///< hashes of inputs
};

} // namespace tarn::archive
