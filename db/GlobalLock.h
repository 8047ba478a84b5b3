#pragma once

namespace tarn::db
{

/// A lock between processes. It is held as long as this object lives, and no longer than the process.
class GlobalLock
{
public:
  GlobalLock() = default;
  GlobalLock(const GlobalLock&) = delete;
  GlobalLock& operator=(const GlobalLock&) = delete;
  virtual ~GlobalLock() = default;
};

} // namespace tarn::db
