// Access control lists as extended attributes, in the form of the kernel's linux/posix_acl_xattr.h.
#include "base/AccessList.h"

#include <cerrno>
#include <cstring>

#include <endian.h>
#include <linux/posix_acl.h>
#include <linux/posix_acl_xattr.h>
#include <sys/types.h>
#include <sys/xattr.h>

namespace tarn::base
{
namespace
{

constexpr char kName[] = "system.posix_acl_access";

/// `get` is getxattr(2) but for the file and the name. A list that grows meanwhile is not told.
template <class Get>
std::optional<std::string> readList(Get get)
{
  ssize_t length = get(nullptr, 0);
  if (length < 0)
    return errno == ENODATA || errno == ENOTSUP ? std::optional<std::string>("") : std::nullopt;
  std::string list(static_cast<std::size_t>(length), '\0');
  length = get(list.data(), list.size());
  if (length < 0)
    return std::nullopt;
  list.resize(static_cast<std::size_t>(length));
  return list;
}

} // namespace

std::optional<std::string> accessListOf(const Fd& file)
{
  return readList([&](char* list, std::size_t length) { return fgetxattr(file.get(), kName, list, length); });
}

std::optional<std::string> accessListAt(const std::string& path)
{
  return readList([&](char* list, std::size_t length) { return lgetxattr(path.c_str(), kName, list, length); });
}

bool setAccessList(const Fd& file, const std::string& list)
{
  return fsetxattr(file.get(), kName, list.data(), list.size(), 0) == 0;
}

bool dropAccessList(const Fd& file)
{
  return accessListOf(file) == "" || fremovexattr(file.get(), kName) == 0;
}

mode_t withoutList(mode_t mode, const std::string& list)
{
  const mode_t mask = mode >> 3U & 7U;
  posix_acl_xattr_entry entry = {};
  for (std::size_t at = sizeof(posix_acl_xattr_header); at + sizeof entry <= list.size(); at += sizeof entry)
  {
    std::memcpy(&entry, list.data() + at, sizeof entry);
    const mode_t tag = le16toh(entry.e_tag);
    const mode_t given = le16toh(entry.e_perm) & mask;
    if (tag == ACL_GROUP_OBJ)
      mode &= ~0070U | given << 3U;
    if (tag == ACL_USER || tag == ACL_GROUP) // who is named may be in the group, and is one of all
      mode &= ~0077U | given << 3U | given;
  }
  return mode;
}

} // namespace tarn::base
