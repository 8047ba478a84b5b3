#pragma once

#include "base/text.h"

#include <cstddef>
#include <string>
#include <vector>

namespace impsconverter
{

/// Reads the parameters of one line, one call a field, in the order of the line:
///
///     return Parameters("arguments", "'light'", text, debug).number(window, "window").number(level, "level")
///         .atLeast(2, "LIGHT");
///
/// Fields are converted as scanf converts "%d", "%lg" and "%512s" in the "C" locale: white space before a field is
/// skipped, and the first field that cannot be converted ends the reading, so that it and all those after it keep the
/// values that they had. A number beyond 32 bits keeps the low 32 bits of itself held within 64 bits.
///
/// A field's name is what the debug trace calls it. An empty name adds the value to the line of the field before; a
/// field without a name is not traced.
class Parameters
{
public:
  static constexpr std::size_t kLongestWord = 512;

  /// `group` and `subject` name what is read in the message: "Invalid number of GROUP for SUBJECT: ". The text and the
  /// values that are read from it must outlive this object.
  Parameters(const char* group, std::string subject, const char* text, bool debug);
  Parameters(const Parameters&) = delete;
  Parameters& operator=(const Parameters&) = delete;

  Parameters& number(int& value, const char* name = nullptr) { return field(value, name); }
  /// A number that stands for true unless it is 0.
  Parameters& flag(bool& value, const char* name = nullptr) { return field(value, name); }
  Parameters& real(float& value, const char* name = nullptr) { return field(value, name); }
  Parameters& real(double& value, const char* name = nullptr) { return field(value, name); }
  /// The bytes up to the next white space, at most so many: the next field begins where this one ends.
  Parameters& word(std::string& value, const char* name = nullptr, std::size_t mostBytes = kLongestWord);
  /// A word that is URL-encoded once more.
  Parameters& label(std::string& value, const char* name = nullptr);
  Parameters& skipNumbers(int fields);
  Parameters& skipReals(int fields);

  /// Moves the field that was read last to another place of the trace, counted from 0.
  Parameters& tracedAt(std::size_t place);

  /// The number of fields read so far; -1 when the text ended before the first one.
  int count() const { return converted; }
  /// Reports a count below `required`, which is the only failure. Otherwise prints the fields when debugging, under
  /// "TITLE arguments: " and the count, unless the title is null.
  [[nodiscard]] bool atLeast(int required, const char* title) const;

private:
  template <class Value>
  Parameters& field(Value& value, const char* name)
  {
    return add(hasField() && convert(value), name, value);
  }
  template <class Value>
  Parameters& add(bool read, const char* name, const Value& value)
  {
    converted += read ? 1 : 0;
    ended = !read;
    if (debug && name)
      traced.push_back((*name ? "\n" + std::string(name) + ": " : " ") + tarn::base::joined(value));
    return *this;
  }
  /// Steps over white space; false at the end of the text or after a field that could not be converted.
  bool hasField();
  bool convert(int& value);
  bool convert(bool& value);
  bool convert(float& value);
  bool convert(double& value);
  bool convertWord(std::string& value, std::size_t mostBytes);

  const char* group;
  std::string subject;
  const char* cursor;
  bool debug;
  bool ended = false;
  int converted = 0;
  std::vector<std::string> traced; ///< a field each; empty unless debugging
};

} // namespace impsconverter
