#include "archive/html/Anonymity.h"

#include "annotations/kinds.h"
#include "archive/html/ReportFolder.h"
#include "archive/journal/sha256.h"
#include "base/text.h"

#include <utility>

#include <sys/random.h>

namespace tarn::archive
{
namespace
{

constexpr std::size_t kKeyBytes = 32;
constexpr std::size_t kStudyDigits = 16;
constexpr char kUnknownKind[] = "unknown";
constexpr std::string_view kAnnotation = "_x";

std::string shownKind(const std::string& kind)
{
  return impsconverter::kindOf(kind + "_x ") ? kind : kUnknownKind;
}

template <class Count, class Add>
std::map<std::string, Count> shownKinds(const std::map<std::string, Count>& counts, Add add)
{
  std::map<std::string, Count> shown;
  for (const auto& [kind, count] : counts)
    add(shown[shownKind(kind)], count);
  return shown;
}

Output shownOutput(const Output& output)
{
  Output shown;
  shown.bytes = output.bytes;
  shown.duplicate = output.duplicate;
  shown.annotations = shownKinds(output.annotations, [](std::uint64_t& sum, std::uint64_t lines) { sum += lines; });
  return shown;
}

} // namespace

Anonymity::Anonymity(bool wanted) : key(wanted ? kKeyBytes : 0, '\0')
{
  if (getrandom(key.data(), key.size(), 0) != static_cast<ssize_t>(key.size()))
    throw ReportError("no random numbers to be had");
}

Record Anonymity::shown(const Record& record) const
{
  if (!isWanted())
    return record;
  Record shown;
  shown.study = record.study.empty() ? "" : sha256Hex(key + record.study).substr(0, kStudyDigits);
  shown.outcome = record.outcome;
  shown.annotations = shownKinds(record.annotations,
                                 [](Tally& sum, const Tally& tally)
                                 {
                                   sum.read += tally.read;
                                   sum.written += tally.written;
                                 });
  for (const Reason& reason : record.reasons)
    shown.reasons.push_back({reason.code, "", reason.count});
  for (const Output& output : record.outputs)
    shown.outputs.push_back(shownOutput(output));
  shown.rules = record.rules;
  shown.milliseconds = record.milliseconds;
  return shown;
}

std::string Anonymity::shownLine(const std::string& line) const
{
  if (!isWanted())
    return line;
  const std::string word = line.substr(0, line.find(' '));
  const bool isAnnotation = word.size() > kAnnotation.size() &&
                            word.compare(word.size() - kAnnotation.size(), kAnnotation.size(), kAnnotation) == 0;
  return isAnnotation ? shownKind(word.substr(0, word.size() - kAnnotation.size())) : "";
}

} // namespace tarn::archive
