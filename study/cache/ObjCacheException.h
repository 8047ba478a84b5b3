#pragma once

#include "base/IMLogger.h"

#include <exception>
#include <string>
#include <utility>

namespace tarn::db
{

/// The one exception that leaves ObjCacheMgr: the object table of a study is not filled. `what()` is one line.
class ObjCacheException : public std::exception
{
public:
  /// Logs the message through `logger`, unless that is null: as an error, or as a debug line when `debugOnly` is set.
  ObjCacheException(std::string message, const imutils::IMLogger* logger, bool debugOnly, bool forceErrorRefs)
    : forceErrorRefs(forceErrorRefs), message(std::move(message))
  {
    if (logger && debugOnly)
      logger->debugLog("%s", this->message.c_str());
    else if (logger)
      logger->errorLog("%s", this->message.c_str());
  }

  const char* what() const noexcept override { return message.c_str(); }

  const bool forceErrorRefs; ///< error references are added to the study even where it carries one already

private:
  std::string message;
};

} // namespace tarn::db
