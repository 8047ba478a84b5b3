#pragma once

#include <optional>
#include <string>

namespace tarn::archive
{

/// The first line of a journal: what its run writes, and which share of the inputs is its own.
struct JournalHeader
{
  std::string form = "plain"; ///< or "conformant"
  unsigned shard = 1;         ///< 1 to `shards`
  unsigned shards = 1;

  bool operator==(const JournalHeader& other) const
  {
    return form == other.form && shard == other.shard && shards == other.shards;
  }
  /// "1-of-6"
  std::string name() const { return std::to_string(shard) + "-of-" + std::to_string(shards); }
  /// The journal's name in its folder.
  std::string fileName() const { return name() + ".jsonl"; }
};

std::string toJson(const JournalHeader& header);
/// Nothing where the line is no header of a version that this program understands.
std::optional<JournalHeader> headerFrom(const std::string& line);

} // namespace tarn::archive
