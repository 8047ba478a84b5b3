#pragma once

#include "base/Fd.h"

#include <cstdint>
#include <string>

namespace tarn::archive
{

/// The names in a file, read as they are needed.
class NameList
{
public:
  /// `file` "-" is standard input. Throws base::FileError.
  NameList(const std::string& file, char terminator);

  /// The next name, also one at the end without its terminator; false when there is none. Throws base::FileError.
  bool next(std::string& name);

  /// How many names follow; 0 where the file cannot be read twice.
  std::uint64_t count() const;

private:
  [[noreturn]] void fail() const;

  std::string file;
  base::Fd fd;
  char terminator;
  std::string block;
  std::size_t taken = 0; ///< of `block`
};

} // namespace tarn::archive
