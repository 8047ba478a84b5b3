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

/// What a journal holds: the last record of each input, and who wrote each output. The records stay on the disk; what
/// is held of each is where it stands.
class JournalIndex
{
public:
  /// Reads the journal `path`. What a power cut left at its end is left out. Throws JournalError.
  explicit JournalIndex(const std::string& path);

  /// The last record of the input; nothing when there is none. May be called in a process that was forked.
  std::optional<Record> read(const std::string& input) const;
  /// Where that record begins; OffsetIndex::kNone when there is none.
  std::uint64_t offsetOf(const std::string& input) const;
  /// Which inputs count for a question.
  using Counts = std::function<bool(const std::string& input)>;
  /// An input, of those that count, whose last record has the output `file`, in the role given; nothing when none has.
  std::optional<std::string> holderOf(const std::string& file, Role role, const Counts& counts = {}) const;
  /// Calls `visit` with the last record of each input, in the order of the journal. Throws JournalError.
  void forEach(const std::function<void(const Record& record)>& visit) const;

  /// Takes note of a record that was appended, `length` bytes with its line feed.
  void append(const Record& record, std::uint64_t length);

  const std::string& path() const { return file; }
  std::uint64_t size() const { return bytes; } ///< bytes of whole records, header included
  /// Records by outcome, the last one of each input.
  const std::array<std::uint64_t, kOutcomes>& outcomes() const { return outcomeCounts; }
  /// How often each reason stands in those records.
  const std::map<std::string, std::uint64_t>& reasons() const { return reasonCounts; }

private:
  void load();
  void note(const RecordKeys& keys, std::uint64_t offset);
  void noteOutput(const std::string& output, Role role, std::uint64_t offset, std::uint64_t known);
  void count(const RecordKeys& keys, int step);
  std::string lineAt(std::uint64_t offset) const;
  bool isOf(std::uint64_t offset, const std::string& input) const;

  std::string file;
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
