#pragma once

#include <istream>
#include <map>
#include <optional>
#include <string>

namespace tarn::imutils
{

/// Properties text: one `key = value` a line. Blanks around key and value are dropped. A value may stand in double
/// quotes, which are dropped too; what is inside stays. Lines that start with '#' or '!' and empty lines are comments;
/// lines without '=' are ignored. Of several lines with one key the last one holds.
class IMProperties
{
public:
  /// Replaces all values by those of `text`.
  void read(std::istream& text);

  /// Returns the value of `key`, nothing when it is absent. Keys are case-sensitive.
  std::optional<std::string> getProperty(const std::string& key) const;

private:
  std::map<std::string, std::string> values;
};

} // namespace tarn::imutils
