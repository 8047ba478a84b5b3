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

} // namespace

OutputNames::OutputNames(std::string inputFile, std::string prefix)
  : inputFile(std::move(inputFile)), prefix(std::move(prefix))
{
}

std::string OutputNames::copyName() const
{
  return tarn::base::baseName(inputFile);
}

bool OutputNames::takeForOutput(const std::string& name)
{
  return take(name, overwriteError(prefix + name, inputFile));
}

bool OutputNames::take(const std::string& name, const char* reason)
{
  if (!used.insert(name).second)
    reason = "the name was already used in this run";
  if (reason)
    tarn::base::report("Presentation State file ", name, " could not be saved: ", reason);
  return !reason;
}

} // namespace impsconverter
