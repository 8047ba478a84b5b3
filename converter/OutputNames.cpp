// Which file an output may become, so that nothing is overwritten that the run still needs or has made.
#include "converter/OutputNames.h"

#include "base/files.h"
#include "base/report.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace impsconverter
{
namespace
{

constexpr std::size_t kCutNameLength = sizeof "PR." - 1 + OutputNames::kLongestUid;

/// Why nothing may take the place of `path`: it is itself, not what it may link to, the input file or the link that
/// leads there, or the system does not tell. Null when there is no reason.
const char* overwriteError(const std::string& path, const std::string& inputFile)
{
  struct stat present = {};
  if (lstat(path.c_str(), &present) != 0)
    return errno == ENOENT ? nullptr : std::strerror(errno);
  for (const auto look : {stat, lstat})
  {
    struct stat input = {};
    if (look(inputFile.c_str(), &input) != 0 && errno != ENOENT)
      return std::strerror(errno);
    if (present.st_dev == input.st_dev && present.st_ino == input.st_ino)
      return "it would replace the input file";
  }
  return nullptr;
}

/// Whether there is no reason against a name; otherwise the reason has been reported.
bool isFree(const std::string& name, const char* reason)
{
  if (reason)
    tarn::base::report("Presentation State file ", name, " could not be saved: ", reason);
  return !reason;
}

constexpr char kUsed[] = "the name was already used in this run";

} // namespace

OutputNames::OutputNames(std::string inputFile, std::string prefix)
  : inputFile(std::move(inputFile)), prefix(std::move(prefix))
{
}

std::string OutputNames::copyName() const
{
  return tarn::base::baseName(inputFile);
}

/// Outputs differ by their number, unless a long UID was cut; the copy has the input's name, whatever that is.
bool OutputNames::mayRecur(const std::string& name) const
{
  return name.size() >= kCutNameLength || name == copyName();
}

bool OutputNames::isUsed(const std::string& name)
{
  return mayRecur(name) && !used.insert(name).second;
}

bool OutputNames::takeForOutput(const std::string& name)
{
  return isFree(name, isUsed(name) ? kUsed : overwriteError(prefix + name, inputFile));
}

bool OutputNames::takeForCopy(const std::string& name)
{
  return isFree(name, isUsed(name) ? kUsed : nullptr);
}

} // namespace impsconverter
