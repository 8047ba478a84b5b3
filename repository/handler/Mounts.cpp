// Which mounts a repository has and how much space is free on each.
#include "repository/handler/Mounts.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <sstream>

#include <sys/statvfs.h>
#include <unistd.h>

#include "base/IMException.h"
#include "base/IMProperties.h"
#include "base/environmentValue.h"
#include "base/files.h"
#include "base/text.h"
#include "repository/handler/Location.h"
#include "repository/handler/Refusal.h"

namespace tarn::repository
{
namespace
{

namespace fs = std::filesystem;

constexpr char kOverloaded[] = "/.overloaded";

imutils::IMProperties configuration()
{
  imutils::IMProperties properties;
  const std::string home = base::environmentValue("REPOSITORYHANDLER_HOME");
  if (home.empty())
    return properties;
  if (home.front() != '/')
    throw Refusal{kMountUnreachable};
  try
  {
    std::istringstream text(base::fileContent(home + "/etc/repositories.conf").value_or(""));
    properties.read(text);
    return properties;
  }
  catch (const imutils::IMException&)
  {
    throw Refusal{kMountUnreachable};
  }
}

std::string normal(const std::string& path)
{
  if (path.empty() || path.front() != '/')
    throw Refusal{kMountUnreachable};
  const fs::path result = fs::path(path).lexically_normal();
  return (result.has_filename() ? result : result.parent_path()).string();
}

/// The paths that the value of `key` lists, with colons between them; none where there is no such key.
std::vector<std::string> pathsOf(const imutils::IMProperties& properties, const std::string& key)
{
  std::vector<std::string> parts;
  base::split3<std::vector<std::string>, ':'>(properties.getProperty(key).value_or(""), parts);
  std::vector<std::string> paths;
  for (const std::string& path : parts)
    if (!path.empty())
      paths.push_back(normal(path));
  return paths;
}

bool liesIn(const fs::path& path, const fs::path& mount)
{
  return std::mismatch(mount.begin(), mount.end(), path.begin(), path.end()).first == mount.end();
}

unsigned long percent(fsblkcnt_t part, fsblkcnt_t whole)
{
  return whole == 0 ? 100 : static_cast<unsigned long>(100.0 * static_cast<double>(part) / static_cast<double>(whole));
}

} // namespace

Mounts::Mounts(const std::string& repository)
{
  if (!repository.empty() && repository.front() == '/')
  {
    online.push_back(normal(repository));
    return;
  }
  const imutils::IMProperties properties = configuration();
  online = pathsOf(properties, repository);
  if (online.empty())
    throw Refusal{kUnknownRepository};
  aged = pathsOf(properties, repository + ".aged");
  if (const auto value = properties.getProperty(repository + ".reserve"))
    reserve = std::strtoul(value->c_str(), nullptr, 10);
}

std::vector<std::string> Mounts::all() const
{
  std::vector<std::string> mounts = online;
  mounts.insert(mounts.end(), aged.begin(), aged.end());
  return mounts;
}

std::string Mounts::holding(const std::string& path) const
{
  const fs::path wanted = normal(path);
  std::string best;
  for (const std::string& mount : all())
    if (mount.size() > best.size() && liesIn(wanted, mount))
      best = mount;
  return best;
}

std::string Mounts::forNew(bool balance) const
{
  const auto hasReserve = [](const std::string& mount) { return !modeOf(mount + kOverloaded); };
  const auto hasLess = [](const auto& one, const auto& other) { return Space(one).freeBytes < Space(other).freeBytes; };
  std::vector<std::string> candidates;
  std::copy_if(online.begin(), online.end(), std::back_inserter(candidates), hasReserve);
  if (candidates.empty())
    candidates = online;
  if (!balance || candidates.size() == 1)
    return candidates.front();
  return *std::max_element(candidates.begin(), candidates.end(), hasLess);
}

void Mounts::markOverloaded(bool mark, bool countInodes) const
{
  for (const std::string& mount : online)
  {
    const Space space(mount);
    const bool lacking = space.bytePercent < reserve || (countInodes && space.inodePercent < reserve);
    if (!lacking)
      unlink((mount + kOverloaded).c_str());
    else if (mark)
      touchFile(mount + kOverloaded);
  }
}

Space::Space(const std::string& mount)
{
  struct statvfs status = {};
  if (statvfs(mount.c_str(), &status) != 0)
    throw Refusal{kMountUnreachable};
  freeBytes = static_cast<unsigned long long>(status.f_bavail) * status.f_frsize;
  bytePercent = percent(status.f_bavail, status.f_blocks);
  inodePercent = percent(status.f_favail, status.f_files);
}

} // namespace tarn::repository
