// The book that a conversion keeps of its lines.
#include "converter/Account.h"

#include <algorithm>

namespace impsconverter
{
namespace
{

constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kAnnotation = "_x";

std::string_view firstWordOf(std::string_view line)
{
  const std::size_t start = line.find_first_not_of(kBlanks);
  if (start == std::string_view::npos)
    return {};
  line.remove_prefix(start);
  return line.substr(0, line.find_first_of(kBlanks));
}

} // namespace

std::string_view annotationKind(std::string_view line)
{
  const std::string_view word = firstWordOf(line);
  const std::size_t length = word.size() - std::min(word.size(), kAnnotation.size());
  return word.substr(length) == kAnnotation ? word.substr(0, length) : std::string_view();
}

void Account::readLine(std::string_view line, bool known)
{
  const std::string_view word = firstWordOf(line);
  if (const std::string kind(annotationKind(line)); !kind.empty())
  {
    ++tallies[kind].read;
    ++(known ? underWay[kind] : reasons[{loss::kKindUnknown, kind}]);
  }
  else if (!known && !word.empty())
    ++reasons[{loss::kLineUnknown, std::string(word)}];
}

void Account::keep()
{
  for (const auto& [kind, lines] : underWay)
    tallies[kind].written += lines;
  underWay.clear();
}

void Account::lose(const std::string& code, const std::string& detail)
{
  std::uint64_t& lost = reasons[{code, detail}];
  for (const auto& [kind, lines] : underWay)
    lost += lines;
  underWay.clear();
}

} // namespace impsconverter
