#pragma once

namespace tarn::imutils
{

/// A lock that is taken by polling with growing waits. The destructor of its implementation gives it back.
class IMSemaphore
{
public:
  virtual ~IMSemaphore() = default;

  /// Takes the lock. Waits `firstWait` milliseconds after the first attempt, then each time `factor` times longer, at
  /// most `longestWait`; every wait varies at random by up to `jitter` of itself. Throws IMTimeoutException when the
  /// lock was not obtained within `timeout` milliseconds, and whatever an attempt throws.
  void lock_ms(int timeout, float firstWait, float factor, float longestWait, float jitter);

protected:
  /// Makes one attempt, without waiting. Returns whether the lock is held now.
  virtual bool tryLock() = 0;
};

} // namespace tarn::imutils
