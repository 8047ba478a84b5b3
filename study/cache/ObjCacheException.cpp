#include "study/cache/ObjCacheException.h"

#include "base/IMLogger.h"

#include <utility>

namespace tarn::db
{

ObjCacheException::ObjCacheException(std::string text, const imutils::IMLogger* logger, bool debugOnly, bool force)
  : message(std::move(text)), forceErrorRefs(force)
{
  if (logger && debugOnly)
    logger->debugLog("%s", message.c_str());
  else if (logger)
    logger->errorLog("%s", message.c_str());
}

} // namespace tarn::db
