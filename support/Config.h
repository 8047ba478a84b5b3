#pragma once

#include "base/IMException.h"
#include "base/IMProperties.h"

#include <sys/types.h>

#include <optional>
#include <string>
#include <tuple>
#include <utility>

namespace tarn::imutils
{

/// A configuration record over a properties file (see IMProperties), which is loaded again when it has changed. A file
/// that does not exist counts as an empty one. Not thread-safe.
class Config
{
public:
  /// `file` is an absolute path, or cannot be read.
  explicit Config(std::string file) : file(std::move(file)) {}
  virtual ~Config() = default;
  Config(const Config&) = delete;
  Config& operator=(const Config&) = delete;

  /// Loads the file on the first call. A later call loads it again when its time, size or identity has changed, and
  /// resets the record when the file is gone. Throws IMException when the file cannot be read; the next call tries
  /// again.
  void check();

  /// The value of the property `key`, nothing when the file does not have it.
  std::optional<std::string> getProperty(const std::string& key) const { return properties.getProperty(key); }

protected:
  /// Reads the file. Replaces all properties by those of the file.
  virtual void load();
  /// Forgets all properties. A derived record restores the values that it took from them.
  virtual void reset();

private:
  /// Tells one version of the file from another: device, number, size, and time of the last change in seconds and
  /// nanoseconds. All are 0 when there is no file.
  using Version = std::tuple<dev_t, ino_t, off_t, time_t, long>;
  Version currentVersion() const;
  IMException unreadable(const std::string& reason) const;

  std::string file;
  IMProperties properties;
  std::optional<Version> loaded;
};

} // namespace tarn::imutils
