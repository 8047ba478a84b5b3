#pragma once

#include <cstddef>
#include <set>
#include <string>

namespace impsconverter
{

/// The names of the files that one conversion writes: each is used once, and an output never takes the place of the
/// input. A name that is refused is reported as a file that cannot be saved.
class OutputNames
{
public:
  /// The longest UID (PS3.5 9.1), to which an output's is cut.
  static constexpr std::size_t kLongestUid = 64;

  /// Files are called `prefix` + name; `inputFile` may be empty.
  OutputNames(std::string inputFile, std::string prefix);

  [[nodiscard]] bool takeForOutput(const std::string& name);
  /// The copy of the input may replace the input itself.
  [[nodiscard]] bool takeForCopy(const std::string& name) { return take(name, nullptr); }
  /// What the copy is called: as the input, without its folder.
  std::string copyName() const;

private:
  /// `reason` is what speaks against the name, or null.
  bool take(const std::string& name, const char* reason);

  std::string inputFile;
  std::string prefix;
  std::set<std::string> used;
};

} // namespace impsconverter
