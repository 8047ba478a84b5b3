#pragma once

#include "tests/support/TempDir.h"

#include <cstdio>
#include <memory>
#include <string>

/// A throw-away MariaDB server of its own, without network, its data in a new folder below /tmp. It ends with this
/// object, and with the process that made it, however that ends; the folder goes with the server. `root` has no
/// password.
class MariaDbServer
{
public:
  /// Starts it and waits until it answers; throws std::runtime_error, with the server's log, when it does not.
  /// `options` go to the server's command line, as the shell reads them.
  explicit MariaDbServer(const std::string& options = "");
  /// The one that the tests of a program share.
  static MariaDbServer& shared();

  /// Makes a new empty database; its URL for `root`.
  std::string createDatabase();
  /// Runs statements as `root`; throws std::runtime_error when they fail.
  void run(const std::string& sql) const;
  std::string socket() const { return folder / "s"; }

private:
  const TempDir folder{"/tmp"}; // a socket's path has less than 108 characters
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> leash{nullptr, pclose}; ///< the pipe that keeps the server alive
  int databases = 0;
};
