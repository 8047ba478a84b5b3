#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::archive
{

/// What became of an input.
enum class Outcome
{
  converted, ///< every annotation line stands in an output
  partly,    ///< something does not
  nothing,   ///< a presentation state without a private state
  refused,   ///< the conversion could not begin
  failed,    ///< the conversion began and ended with an error
  crashed,   ///< the worker died
  timeout    ///< the worker was given up
};

constexpr std::size_t kOutcomes = 7;

const char* nameOf(Outcome outcome);
/// Nothing for a name that is none of theirs.
std::optional<Outcome> outcomeNamed(std::string_view name);

/// Annotation lines of one kind.
struct Tally
{
  std::uint64_t read = 0;
  std::uint64_t written = 0;
};

/// Why something is not carried over; `code` is one of docs/formats.md.
struct Reason
{
  std::string code;
  std::string detail;
  std::uint64_t count = 1; ///< annotation lines, or what the code says
};

/// A presentation state that was written.
struct Output
{
  std::string file;     ///< below the output folder
  std::string instance; ///< SOP Instance UID
  std::string image;    ///< Referenced SOP Instance UID, and its class and frames as they stand in the object
  std::string imageClass;
  std::string frame;
  std::uint64_t bytes = 0;
  std::string sha256;                               ///< 64 hexadecimal digits
  std::map<std::string, std::uint64_t> annotations; ///< lines written, by kind
  bool duplicate = false;                           ///< an earlier input wrote the same bytes
};

/// How an input holds an output.
enum class Role
{
  owner,    ///< it wrote it
  duplicate ///< it would have written the same bytes
};
constexpr std::size_t kRoles = 2;

inline Role roleOf(const Output& output)
{
  return output.duplicate ? Role::duplicate : Role::owner;
}

/// What a journal says of one input.
struct Record
{
  std::string input; ///< absolute path, any bytes
  std::uint64_t size = 0;
  std::string mtime; ///< UTC, "2026-01-02T03:04:05.123456789Z"; empty when the file could not be looked at
  std::string study; ///< UIDs as far as they could be read
  std::string instance;
  Outcome outcome = Outcome::converted;
  std::map<std::string, Tally> annotations; ///< by kind: the first word of a line without "_x"
  std::vector<Reason> reasons;
  std::vector<Output> outputs;
  std::map<std::string, std::uint64_t> rules; ///< remedies of the conformant form, with their number
  std::vector<std::string> messages;          ///< as the converter would print them
  double milliseconds = 0.0;
};

/// The output `file` of the record; null where it has none.
const Output* outputOf(const Record& record, const std::string& file);
/// Whether the record has the output in that role.
bool holds(const Record& record, const std::string& file, Role role);

/// One line of JSON, without the line feed. Bytes that are no UTF-8 are shown as `\xNN`; an input with such bytes has
/// its name in hexadecimal as `input_hex` besides.
std::string toJson(const Record& record);

/// Throws std::runtime_error where the line is no record.
Record recordFrom(const std::string& line);

} // namespace tarn::archive
