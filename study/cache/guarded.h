#pragma once

#include "base/IMLogger.h"

#include <exception>

namespace tarn::study
{

/// Runs `work` and returns true. Where `work` throws an Exception, logs an error with `format`, which takes the names
/// and what the exception says, and returns false. Other exceptions pass.
template <class Exception = std::exception, class Work, class... Names>
bool guarded(const Work& work, const imutils::IMLogger& logger, const char* format, const Names&... names)
{
  try
  {
    work();
    return true;
  }
  catch (const Exception& failure)
  {
    logger.errorLog(format, names.c_str()..., failure.what());
    return false;
  }
}

} // namespace tarn::study
