#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace impsconverter
{

/// The kind of an annotation line, which is its first word without "_x"; empty for another line.
std::string_view annotationKind(std::string_view line);

/// What a conversion did with each line of its plug-in state, counted as it went. Annotation lines are those whose
/// first word ends in "_x"; a kind is that word without the ending, whether or not the converter knows it.
///
/// The sums close once the conversion has ended: lines read are lines written and lines lost.
class Account
{
public:
  struct Tally
  {
    std::uint64_t read = 0;
    std::uint64_t written = 0; ///< they stand in an output that was given out
  };
  using Lines = std::map<std::string, std::uint64_t>; ///< number of lines by kind
  using Loss = std::pair<std::string, std::string>;   ///< code and detail

  /// Takes note of a line; one that is `known` is on its way to the output that is open.
  void readLine(std::string_view line, bool known);
  /// The lines that are on their way stand in an output now.
  void keep();
  /// The lines that are on their way are lost.
  void lose(const std::string& code, const std::string& detail);
  /// Something is lost that may not be an annotation line.
  void note(const std::string& code, const std::string& detail) { reasons[{code, detail}]; }

  const std::map<std::string, Tally>& annotations() const { return tallies; }
  /// Why something was not carried over, with the number of lines. Codes are those of docs/formats.md.
  const std::map<Loss, std::uint64_t>& losses() const { return reasons; }
  /// Annotation lines on their way to the output that is open.
  const Lines& pending() const { return underWay; }

  std::string studyUid; ///< UIDs of the input as far as they could be read
  std::string sopInstanceUid;
  std::uint64_t messagesBefore = 0; ///< that the conversion wrote before those of the line that it read last

private:
  std::map<std::string, Tally> tallies;
  std::map<Loss, std::uint64_t> reasons;
  Lines underWay;
};

/// Codes of what a conversion loses, beside those of inputChecks.h.
namespace loss
{
constexpr char kImageUnknown[] = "image-unknown";       ///< an image that nothing knows
constexpr char kKindUnknown[] = "kind-unknown";         ///< annotation lines of a kind that the converter does not know
constexpr char kLineUnknown[] = "line-unknown";         ///< other lines that it does not know
constexpr char kConversionError[] = "conversion-error"; ///< a line or an output failed, and with it all that follows
constexpr char kObjectCache[] = "object-cache";         ///< the study's object table could not be made sure of
constexpr char kNotLoaded[] = "not-loaded";             ///< the input is no DICOM file, or one that cannot be read
constexpr char kNoFigure[] = "no-figure";               ///< the private state is empty, or holds no figure
} // namespace loss

} // namespace impsconverter
