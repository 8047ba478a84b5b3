// The book that a conversion keeps of its lines.
#include "converter/Account.h"

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

bool isAnnotation(std::string_view word)
{
  return word.size() > kAnnotation.size() && word.substr(word.size() - kAnnotation.size()) == kAnnotation;
}

} // namespace

void Account::readLine(std::string_view line, bool known)
{
  const std::string_view word = firstWordOf(line);
  if (isAnnotation(word))
  {
    const std::string kind(word.substr(0, word.size() - kAnnotation.size()));
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
