#pragma once

#include "db/IMSemaphoreGlobal.h"

#include <string>

namespace tarn::db
{

/// The lock of whoever checks, fills or changes what the database holds of one study; given back by the destructor.
class StudyLock : private imutils::IMSemaphoreGlobal
{
public:
  /// Takes nothing yet. `connector` is borrowed.
  StudyLock(const std::string& studyInstanceUID, DBConnector* connector)
    : IMSemaphoreGlobal("OBJCACHE_" + studyInstanceUID, connector)
  {
  }

  /// Waits for it up to 30 seconds. Throws IMTimeoutException then, and DBException.
  void lock() { lock_ms(30000, 10.0F, 1.5F, 1000.0F, 0.4F); }
};

} // namespace tarn::db
