// The exception of the object cache, which logs itself.
#include "study/cache/ObjCacheException.h"

#include "base/IMLogger.h"

#include <utility>

namespace tarn::db
{

ObjCacheException::ObjCacheException(std::string message, const imutils::IMLogger* logger, bool debugOnly,
                                     bool forceErrorRefs)
  : forceErrorRefs(forceErrorRefs), message(std::move(message))
{
  if (logger && debugOnly)
    logger->debugLog("%s", this->message.c_str());
  else if (logger)
    logger->errorLog("%s", this->message.c_str());
}

} // namespace tarn::db
