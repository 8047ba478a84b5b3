#pragma once

#include <istream>
#include <map>
#include <optional>
#include <string>

namespace tarn::imutils
{

/// The properties of a text, one `key = value` a line. Blanks around key and value are dropped. A value may stand in
/// double quotes, which are dropped; what they enclose stays as it is. Lines that start with '#' or '!' are comments,
/// and lines without '=' are ignored. Of several lines with the same key, the last one counts.
class IMProperties
{
public:
  /// Replaces all properties by those of `text`.
  void read(std::istream& text);
  void clear() { values.clear(); }

  /// The value of `key`, nothing when the text does not have it. Keys are case-sensitive.
  std::optional<std::string> getProperty(const std::string& key) const;

private:
  std::map<std::string, std::string> values;
};

} // namespace tarn::imutils
