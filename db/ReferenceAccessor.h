#pragma once

#include <string>

namespace tarn::db
{

/// Named references that are attached to things of the archive (table `object_references`).
class ReferenceAccessor
{
public:
  /// Returns whether `name` is attached to the thing `key` of the kind `kind` ("STUDYDIR": the key is a study UID;
  /// "OBJECTFILE": a study UID, a slash and a file name).
  [[nodiscard]] virtual bool hasReference(const std::string& key, const std::string& kind, const std::string& name) = 0;
  /// Attaches `name`. Nothing changes where it is attached already. No lock is needed, as it is one statement.
  virtual void addReference(const std::string& key, const std::string& kind, const std::string& name) = 0;

  virtual ~ReferenceAccessor() = default;
};

} // namespace tarn::db
