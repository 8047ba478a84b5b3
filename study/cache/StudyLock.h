#pragma once

#include "db/IMSemaphoreGlobal.h"

#include <string>

namespace tarn::study
{

/// The lock of whoever checks, fills or changes what the database holds of one study. The destructor releases it.
class StudyLock : private imutils::IMSemaphoreGlobal
{
public:
  /// Takes no lock yet. `db` is borrowed.
  StudyLock(const std::string& studyUid, db::DBConnector* db) : IMSemaphoreGlobal("OBJCACHE_" + studyUid, db) {}

  /// Waits up to 30 seconds for the lock. Throws IMTimeoutException when these have passed, and DBException.
  void lock() { lock_ms(30000, 10.0F, 1.5F, 1000.0F, 0.4F); }
};

} // namespace tarn::study
