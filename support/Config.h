#pragma once

#include "base/IMException.h"
#include "base/IMProperties.h"

#include <sys/stat.h>

#include <optional>
#include <string>

namespace tarn::imutils
{

/// A configuration record over a properties file (see IMProperties), reloaded when the file changed.
/// A file that does not exist is an empty one. Not thread-safe.
class Config
{
public:
  explicit Config(std::string file);
  virtual ~Config() = default;
  Config(const Config&) = delete;
  Config& operator=(const Config&) = delete;

  /// Loads on the first call; later reloads when the file's time, size or identity changed, and resets when it went.
  /// Throws IMException when the file cannot be read; the next call tries again.
  void check();

  std::optional<std::string> getProperty(const std::string& key) const { return properties.getProperty(key); }

protected:
  /// Reads the file; the properties are those that it has.
  virtual void load();
  /// Forgets all properties, and what was made of them.
  virtual void reset();

private:
  /// What tells one version of the file from another; all zero when there is no file.
  struct Version
  {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec changed{};
    bool operator==(const Version& other) const;
  };
  Version currentVersion() const;
  IMException unreadable(const std::string& reason) const;

  std::string file;
  IMProperties properties;
  std::optional<Version> loaded;
};

} // namespace tarn::imutils
