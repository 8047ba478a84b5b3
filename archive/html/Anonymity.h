#pragma once

#include "archive/journal/Record.h"

#include <string>

namespace tarn::archive
{

/// Leaves out of a report what may tell who a patient is: names, paths, UIDs, times, sizes, texts and labels. What is
/// left is what this program itself says: outcomes, codes, numbers, kinds that it knows.
class Anonymity
{
public:
  /// Everything stays as it is where it is not `wanted`.
  explicit Anonymity(bool wanted);

  bool isWanted() const { return !key.empty(); }
  /// The record as the report shows it. The study becomes a name of 16 hexadecimal digits that holds for this report
  /// alone.
  Record shown(const Record& record) const;
  /// A line of a plug-in state: its first word where that is a known kind's.
  std::string shownLine(const std::string& line) const;

private:
  std::string key; ///< random bytes that are written nowhere; empty where nothing is left out
};

} // namespace tarn::archive
