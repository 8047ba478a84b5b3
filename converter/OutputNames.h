#pragma once

#include <set>
#include <string>

namespace tarn::dicom
{
struct SaveTarget;
} // namespace tarn::dicom

namespace impsconverter
{

/// The names that one conversion gives: the SOP Instance UIDs of its outputs, and the files that it writes. Each file
/// name is used once, and an output never takes the place of the input. A name that is refused is reported as a file
/// that cannot be saved.
class OutputNames
{
public:
  /// `inputFile` may be empty.
  explicit OutputNames(std::string inputFile);

  /// The UID of the output `number`: the organisation's root, the number and what the input's own UID has after the
  /// root; cut at 64 characters (PS3.5 9.1).
  static std::string uidOf(const std::string& inputUid, int number);

  /// `target` is where `name` goes.
  [[nodiscard]] bool takeForOutput(const std::string& name, const tarn::dicom::SaveTarget& target);
  /// For what may replace the input, or has its place found by others.
  [[nodiscard]] bool takeOnce(const std::string& name) { return take(name, nullptr); }
  /// What the copy is called: as the input, without its folder.
  std::string copyName() const;

private:
  bool mayRecur(const std::string& name) const;
  /// `reason` is what speaks against the name, or null.
  bool take(const std::string& name, const char* reason);

  std::string inputFile;
  std::set<std::string> used; ///< of the names that may recur
};

} // namespace impsconverter
