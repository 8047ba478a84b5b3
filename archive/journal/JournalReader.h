#pragma once

#include "archive/journal/JournalHeader.h"
#include "base/files.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarn::archive
{

/// A journal that cannot be used; what() is one line.
class JournalError : public std::runtime_error
{
public:
  using std::runtime_error::runtime_error;
};

/// A journal that another run uses, that belongs to runs with other options or to another account, or that is damaged:
/// to run again does not help.
class JournalMisfit : public JournalError
{
public:
  using JournalError::JournalError;
};

/// The journals in OUT/journal, sorted by name. Throws JournalError where the folder cannot be read.
std::vector<std::string> journalsIn(const std::string& folder);

/// Reads a journal line by line, in memory for one block. What stands after the last line feed is a line that was not
/// finished, and is left out.
class JournalReader
{
public:
  /// Reads the header. Throws JournalError where the file cannot be read or is no journal.
  explicit JournalReader(const std::string& path);

  /// The header of the journal `path`; nothing where its first line was not finished. Throws JournalError.
  static std::optional<JournalHeader> headerOf(const std::string& path);

  const JournalHeader& header() const { return head; }
  /// The next line, without its line feed; false at the end. Throws JournalError.
  bool next(std::string& line);
  /// Where the line that next() gave begins.
  std::uint64_t offset() const { return lineStart; }
  /// Where the next line begins; at the end, how many bytes of the file are whole lines.
  std::uint64_t end() const { return nextStart; }
  const std::string& path() const { return file; }
  /// Of the whole file, in bytes.
  std::uint64_t size() const { return content.size; }

private:
  struct Unread
  {
  };
  JournalReader(const std::string& path, Unread);
  bool fill();

  std::string file;
  base::RegularFile content;
  JournalHeader head;
  std::string block;       ///< read and not given out yet
  std::size_t blockAt = 0; ///< what of it was given out
  std::uint64_t lineStart = 0;
  std::uint64_t nextStart = 0;
};

} // namespace tarn::archive
