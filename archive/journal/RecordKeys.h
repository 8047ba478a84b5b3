#pragma once

#include "archive/journal/Record.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tarn::archive
{

/// What of a record the index of a journal is made of.
struct RecordKeys
{
  std::string input;
  Outcome outcome = Outcome::converted;
  std::vector<std::string> reasons; ///< codes
  std::vector<std::pair<std::string, Role>> outputs;
};

RecordKeys keysOf(const Record& record);

/// Reads the keys of many records: a run that goes on reads millions of lines before it begins.
class RecordKeysReader
{
public:
  RecordKeysReader();
  RecordKeysReader(RecordKeysReader&& other) noexcept;
  ~RecordKeysReader();

  /// Throws std::exception where the line is no record. `line` stays the same, but may move.
  RecordKeys read(std::string& line);

private:
  struct Parser;
  std::unique_ptr<Parser> parser;
};

} // namespace tarn::archive
