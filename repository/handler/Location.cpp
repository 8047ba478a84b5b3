// A resource in one mount, with what the library keeps beside it.
#include "repository/handler/Location.h"

#include <optional>

#include <sys/stat.h>
#include <unistd.h>

#include "repository/handler/Refusal.h"
#include "repository/handler/checked.h"

namespace tarn::repository
{
namespace
{

constexpr char kDirtyFlag[] = ".dirty";

} // namespace

bool Location::exists() const
{
  const std::optional<mode_t> mode = modeOf(path());
  if (!mode)
    requireMount(mount);
  else if (!S_ISDIR(*mode))
    throw Refusal{kFailed};
  return mode.has_value();
}

bool Location::isDirty() const
{
  return modeOf(beside(kDirtyFlag)).has_value();
}

void Location::setDirty(bool dirty) const
{
  if (dirty)
    touchFile(beside(kDirtyFlag));
  else
    unlink(beside(kDirtyFlag).c_str());
}

utimbuf Location::times() const
{
  struct stat status = {};
  requireDone(stat(path().c_str(), &status));
  return {status.st_atime, status.st_mtime};
}

void Location::setTimes(const utimbuf& times) const
{
  requireDone(utime(path().c_str(), &times));
}

} // namespace tarn::repository
