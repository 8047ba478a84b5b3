#pragma once

namespace tarn::imutils
{

/// A lock that is taken by polling with growing waits and given back by the destructor of what implements it.
class IMSemaphore
{
public:
  virtual ~IMSemaphore() = default;

  /// Takes the lock. Between two attempts it waits firstWait milliseconds, then each time `factor` times longer, at
  /// most longestWait, every wait varied at random by up to `jitter` of itself, until `timeout` milliseconds have
  /// passed since the call. Throws IMTimeoutException when the lock was not obtained by then, and whatever an attempt
  /// throws.
  void lock_ms(int timeout, float firstWait, float factor, float longestWait, float jitter);

protected:
  /// One attempt that does not wait; true when the lock is held now.
  virtual bool tryLock() = 0;
};

} // namespace tarn::imutils
