// The codes of docs/formats.md, "Reasons", for people.
#include "archive/html/reasonTexts.h"

#include "conformance/Rule.h"

#include <algorithm>
#include <map>

namespace tarn::archive
{
namespace
{

constexpr char kGetAgain[] = "Get the object from its origin again.";
constexpr char kNothingToConvert[] = "Nothing: there is nothing to convert.";

using Texts = std::map<std::string, ReasonText>;

const Texts& texts()
{
  static const Texts rows = {
      {"missing",
       {"The file was on a list and is not there.", "Mend the list, or bring the file back and use --retry."}},
      {"unreadable", {"The file cannot be read.", "See to its rights and its disk, then use --retry."}},
      {"not-loaded", {"The file is damaged, or was made to do harm.", kGetAgain}},
      {"study-uid-missing", {"The object has no Study Instance UID.", kGetAgain}},
      {"instance-uid-missing", {"The object has no SOP Instance UID.", kGetAgain}},
      {"class-uid-missing", {"The object has no SOP Class UID.", kGetAgain}},
      {"instance-uid-foreign", {"Another system made the object.", kNothingToConvert}},
      {"class-foreign", {"The object is of another class than its file says.", kNothingToConvert}},
      {"references-missing", {"The object does not say which images it is for.", kGetAgain}},
      {"private-state-unreadable", {"The private state is no text.", "Report it to the maintainers with the file."}},
      {"no-figure", {"The private state is empty, or has no figure.", kNothingToConvert}},
      {"object-cache",
       {"The study's table of objects could not be made sure of.",
        "See to the study's import (tarnctl status, tarnctl clear-error), then use --retry."}},
      {"conversion-error",
       {"A line or an output failed, and all that follows was not converted.",
        "Compare the line with its format, and report it to the maintainers with the file."}},
      {"output-not-saved",
       {"What stands under the output's name may not be replaced.", "Move away what stands there, then use --retry."}},
      {"image-unknown",
       {"The annotations are for an image that nothing knows.",
        "Add the image's study (tarnctl add-study), then use --retry."}},
      {"kind-unknown",
       {"The converter does not know this kind of annotation, or the line has no values.",
        "Tell the maintainers which kind it is, and how many there are."}},
      {"name-taken",
       {"Another input gives an output of the same name with other content.",
        "Decide which of the two inputs holds, and take the other from the list."}},
      {"graphic-dropped",
       {"The coordinates of some graphics are no numbers: nobody can draw them.",
        "Look at the picture, and at the original where it matters."}},
      {"line-unknown",
       {"The private state has lines that are no annotations and that the converter does not know.",
        "Nothing; tell the maintainers where a word is frequent."}},
      {"timeout", {"It took too long and was given up.", "Use --retry with a longer --timeout."}},
      {"out-of-memory", {"It needed more memory than a worker may take.", "Use --retry with a greater --memory."}},
      {"killed", {"The worker was killed from outside, twice.", "Use --retry with fewer workers."}},
      {"crashed", {"The program failed.", "Report it to the maintainers with the file."}},
      {"interrupted",
       {"The run ended while it replaced the outputs of this input.",
        "Run the same command again, which converts it anew."}},
  };
  return rows;
}

constexpr char kSizeUnknown[] = "area-corners-missing";

} // namespace

ReasonText reasonText(const std::string& code)
{
  if (const auto row = texts().find(code); row != texts().end())
    return row->second;
  const auto& rules = conformance::rules();
  const auto rule =
      std::find_if(rules.begin(), rules.end(), [&](const conformance::Rule& r) { return r.code == code; });
  if (rule == rules.end())
    return {"A reason that this version does not know.", "See the documents of the version that wrote the journal."};
  return {std::string("An output breaks a rule, cannot be mended and is not written: ") + rule->what,
          code == kSizeUnknown ? "Name the folder of the images with --images, then use --retry."
                               : "Report it to the maintainers with the file."};
}

} // namespace tarn::archive
