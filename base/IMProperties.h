#pragma once

#include <istream>
#include <map>
#include <optional>
#include <string>

namespace tarn::imutils
{

/// Properties text: one `key = value` a line; blanks around key and value are dropped, a value may stand in double
/// quotes (which are dropped, what is inside stays), lines that start with '#' or '!' and empty lines are comments.
/// The last of several lines with one key holds. Lines without '=' are ignored.
class IMProperties
{
public:
  /// Replaces what is held by what `text` says.
  void read(std::istream& text);
  void clear() { values.clear(); }

  /// The value of `key`, nothing when it is absent. Keys are case-sensitive.
  std::optional<std::string> getProperty(const std::string& key) const;

private:
  std::map<std::string, std::string> values;
};

} // namespace tarn::imutils
