// What outputs are called, and that nothing is overwritten that the run still needs or has made.
#include "converter/OutputNames.h"

#include "base/files.h"
#include "base/report.h"
#include "converter/inputChecks.h"
#include "dicom/saveFile.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

namespace impsconverter
{
namespace
{

constexpr char kOutputFormat[] = "1.2.826.0.1.7770001.2.11.7.%d%s";
constexpr std::size_t kLongestUid = 64; // PS3.5 9.1
constexpr std::size_t kCutNameLength = sizeof "PR." - 1 + kLongestUid;

/// Why nothing may take the place of `target`: it is itself, not what it may link to, the input file or the link that
/// leads there, or the system does not tell. Null when there is no reason.
const char* overwriteError(const tarn::dicom::SaveTarget& target, const std::string& inputFile)
{
  if (target.error != 0)
    return std::strerror(target.error);
  if (!target.exists)
    return nullptr;
  for (const auto look : {stat, lstat})
  {
    struct stat input = {};
    if (look(inputFile.c_str(), &input) != 0 && errno != ENOENT)
      return std::strerror(errno);
    if (target.present.st_dev == input.st_dev && target.present.st_ino == input.st_ino)
      return "it would replace the input file";
  }
  return nullptr;
}

} // namespace

OutputNames::OutputNames(std::string inputFile) : inputFile(std::move(inputFile)) {}

std::string OutputNames::uidOf(const std::string& inputUid, int number)
{
  std::array<char, kLongestUid + 1> text{};
  const std::string suffix = inputUid.substr(std::min(sizeof kInputRoot - 1, inputUid.size()));
  std::snprintf(text.data(), text.size(), kOutputFormat, number, suffix.c_str());
  return text.data();
}

std::string OutputNames::copyName() const
{
  return tarn::base::baseName(inputFile);
}

bool OutputNames::takeForOutput(const std::string& name, const tarn::dicom::SaveTarget& target)
{
  return take(name, overwriteError(target, inputFile));
}

/// Outputs differ by their number, unless a long UID was cut; the copy has the input's name, whatever that is.
bool OutputNames::mayRecur(const std::string& name) const
{
  return name.size() >= kCutNameLength || name == copyName();
}

bool OutputNames::take(const std::string& name, const char* reason)
{
  if (mayRecur(name) && !used.insert(name).second)
    reason = "the name was already used in this run";
  if (reason)
    tarn::base::report("Presentation State file ", name, " could not be saved: ", reason);
  return !reason;
}

} // namespace impsconverter
