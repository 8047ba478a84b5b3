#pragma once

#include "archive/journal/JournalReader.h"
#include "archive/journal/OffsetIndex.h"
#include "archive/journal/Record.h"
#include "archive/journal/RecordKeys.h"
#include "base/Fd.h"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace tarn::archive
{

/// What is to become of a line that is no record, and that no power cut explains.
enum class Damage
{
  refuse,  ///< the journal cannot be used: no record may become its victim
  passOver ///< it is counted, for whoever only looks
};

/// What a journal holds: the last record of each input, and who wrote each output. The records stay on the disk; what
/// is held of each is where it stands.
class JournalIndex
{
public:
  /// Reads the journal `path`. What a power cut left at its end is left out. Throws JournalError.
  explicit JournalIndex(const std::string& path, Damage damage = Damage::refuse);

  /// The last record of the input; nothing when there is none. May be called in a process that was forked.
  std::optional<Record> read(const std::string& input) const;
  /// Where that record begins; OffsetIndex::kNone when there is none.
  std::uint64_t offsetOf(const std::string& input) const;
  /// Which inputs count for a question.
  using Counts = std::function<bool(const std::string& input)>;
  /// An input, of those that count, whose last record has the output `file`, in the role given; nothing when none has.
  std::optional<std::string> holderOf(const std::string& file, Role role, const Counts& counts = {}) const;
  /// Which outcomes are asked for.
  using Wanted = std::function<bool(Outcome outcome)>;
  /// Calls `visit` with the last record of each input that has an outcome wanted, in the order of the journal. Throws
  /// JournalError.
  void forEach(const std::function<void(const Record& record)>& visit, const Wanted& wanted = {}) const;

  /// Takes note of a record that was appended, `length` bytes with its line feed.
  void append(const Record& record, std::uint64_t length);

  const std::string& path() const { return file; }
  std::uint64_t damagedLines() const { return damaged; } ///< that were passed over
  std::uint64_t size() const { return bytes; }           ///< bytes of whole records, header included
  /// Records by outcome, the last one of each input.
  const std::array<std::uint64_t, kOutcomes>& outcomes() const { return outcomeCounts; }
  /// How often each reason stands in those records.
  const std::map<std::string, std::uint64_t>& reasons() const { return reasonCounts; }

private:
  void load();
  RecordKeys keysIn(std::string& line);
  bool isLast(RecordKeysReader& reader, std::string& line, std::uint64_t offset, const Wanted& wanted) const;
  void note(const RecordKeys& keys, std::uint64_t offset);
  void noteOutput(const std::string& output, Role role, std::uint64_t offset, std::uint64_t known);
  void count(const RecordKeys& keys, int step);
  std::string lineAt(std::uint64_t offset) const;
  bool isOf(std::uint64_t offset, const std::string& input) const;

  std::string file;
  Damage damage;
  std::uint64_t damaged = 0;
  base::Fd fd; ///< for look-ups
  std::uint64_t bytes = 0;
  RecordKeysReader keysReader;
  OffsetIndex inputs;
  std::array<OffsetIndex, kRoles> outputs; ///< by role: the newest place of each
  OffsetIndex older;                       ///< for each such place and output the one before
  std::array<std::uint64_t, kOutcomes> outcomeCounts{};
  std::map<std::string, std::uint64_t> reasonCounts;
};

} // namespace tarn::archive
