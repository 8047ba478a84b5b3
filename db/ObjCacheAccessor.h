#pragma once

#include <list>
#include <string>

namespace tarn::db
{

/// What the object-cache table says of a study.
struct ObjCacheEntry
{
  int status = 0;     ///< 0 valid, 1 marked for unmap, any other: the object table is to be filled
  bool error = false; ///< the last attempt to fill it failed
};

constexpr int kObjCacheValid = 0;
constexpr int kObjCacheUnmap = 1;
constexpr int kObjCacheError = 2;

/// The object-cache table, named by QXOBJCACHETBL (`object_cache` when unset).
class ObjCacheAccessor
{
public:
  /// Returns whether the study has an entry of status 0 without the error flag.
  [[nodiscard]] virtual bool isObjCacheValid(const std::string& studyUid) = 0;
  /// Returns false, with `entry` unchanged, when the study has no entry. `mode` is what callers pass, and has no
  /// effect.
  [[nodiscard]] virtual bool getObjCacheEntry(const std::string& studyUid, int mode, ObjCacheEntry& entry) = 0;
  /// Makes or changes the entry: kObjCacheError sets the status and the error flag, kObjCacheValid clears both.
  virtual void setObjCacheStatus(const std::string& studyUid, int status) = 0;
  /// Appends the names of the study's objects in the object table, in byte order.
  virtual void listObjCacheFiles(const std::string& studyUid, std::list<std::string>& files) = 0;

  virtual ~ObjCacheAccessor() = default;
};

} // namespace tarn::db
