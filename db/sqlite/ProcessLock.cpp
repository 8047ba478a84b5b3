#include "db/sqlite/ProcessLock.h"

#include <mutex>
#include <set>
#include <utility>

namespace tarn::db
{
namespace
{

struct HeldNames
{
  std::mutex mutex;
  std::set<std::string> names;
};

HeldNames& heldNames()
{
  static HeldNames held;
  return held;
}

} // namespace

ProcessLock::ProcessLock(std::string lockName) : name(std::move(lockName)) {}

std::unique_ptr<ProcessLock> ProcessLock::tryLock(const std::string& name)
{
  std::unique_ptr<ProcessLock> lock;
  const std::lock_guard<std::mutex> guard(heldNames().mutex);
  if (heldNames().names.insert(name).second)
    lock.reset(new ProcessLock(name));
  return lock;
}

ProcessLock::~ProcessLock()
{
  const std::lock_guard<std::mutex> guard(heldNames().mutex);
  heldNames().names.erase(name);
}

} // namespace tarn::db
