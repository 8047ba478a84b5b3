#pragma once

#include "db/GlobalLock.h"

#include <memory>
#include <string>

namespace tarn::db
{

/// A lock between the connections of this process, for databases that no other process sees.
class ProcessLock : public GlobalLock
{
public:
  /// One attempt without waiting; null when it is held.
  static std::unique_ptr<ProcessLock> tryLock(const std::string& name);
  ~ProcessLock() override;

private:
  explicit ProcessLock(std::string name);

  std::string name;
};

} // namespace tarn::db
