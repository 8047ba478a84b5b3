#include "archive/html/PictureChoice.h"

#include "base/text.h"

#include <charconv>
#include <string_view>
#include <system_error>
#include <vector>

namespace tarn::archive
{
namespace
{

constexpr std::string_view kSample = "sample:";

/// The number of "sample:N"; 0 where it is none.
std::uint64_t sampleIn(std::string_view word)
{
  word.remove_prefix(kSample.size());
  std::uint64_t number = 0;
  const auto [end, failure] = std::from_chars(word.data(), word.data() + word.size(), number);
  return failure == std::errc() && end == word.data() + word.size() ? number : 0;
}

} // namespace

std::optional<PictureChoice> pictureChoiceFrom(const std::string& text)
{
  PictureChoice choice{false, false, 0, text};
  std::vector<std::string> words;
  base::split3<std::vector<std::string>, ','>(text, words);
  for (const std::string& word : words)
  {
    if (base::startsWith(word, kSample))
      choice.sample = sampleIn(word);
    else if (word == "all")
      choice.all = true;
    else if (word == "failures")
      choice.failures = true;
    else if (word != "none")
      return std::nullopt;
    if (base::startsWith(word, kSample) && choice.sample == 0)
      return std::nullopt;
  }
  return words.empty() ? std::nullopt : std::make_optional(choice);
}

} // namespace tarn::archive
