// Waiting for a lock by polling.
#include "base/IMSemaphore.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <string>
#include <thread>

#include "base/IMException.h"

namespace tarn::imutils
{

void IMSemaphore::lock_ms(int timeout, float firstWait, float factor, float longestWait, float jitter)
{
  using Clock = std::chrono::steady_clock;
  using Wait = std::chrono::duration<float, std::milli>;
  const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeout);
  std::minstd_rand random(std::random_device{}());
  std::uniform_real_distribution<float> spread(1.0F - jitter, 1.0F + jitter);
  for (float wait = std::min(firstWait, longestWait); !tryLock(); wait = std::min(wait * factor, longestWait))
  {
    const Wait left = deadline - Clock::now();
    if (left.count() <= 0)
      throw IMTimeoutException("lock not obtained within " + std::to_string(timeout) + " ms");
    std::this_thread::sleep_for(std::min(left, Wait(wait * spread(random))));
  }
}

} // namespace tarn::imutils
