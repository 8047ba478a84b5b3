#pragma once

namespace tarn::archive::exitStatus
{

constexpr int kDone = 0;      ///< all converted, or nothing to convert
constexpr int kFailed = 1;    ///< some refused, failed, crashed or timed out
constexpr int kUsage = 2;     ///< the command line, or a journal that does not fit it
constexpr int kPartly = 3;    ///< some converted in part, none worse
constexpr int kTryAgain = 75; ///< stopped by the database or the disk (EX_TEMPFAIL of sysexits.h)
constexpr int kSignal = 128;  ///< and the number of the signal that stopped it

} // namespace tarn::archive::exitStatus
