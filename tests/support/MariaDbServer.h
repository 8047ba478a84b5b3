#pragma once

#include "tests/support/TempDir.h"

#include <string>

/// A throw-away MariaDB server, without network, its data in a new folder below /tmp. `root` has no password.
class MariaDbServer
{
public:
  /// The server of the ctest run where ANNOMEND_TEST_SERVER names the file with its socket and no options are given.
  /// Else starts one and waits until it answers. It ends with this object, and with the process that made it, however
  /// that ends. `options` go to the server's command line, as the shell reads them. Throws std::runtime_error, with the
  /// server's log, when it does not start.
  explicit MariaDbServer(const std::string& options = "");
  ~MariaDbServer();
  MariaDbServer(const MariaDbServer&) = delete;
  MariaDbServer& operator=(const MariaDbServer&) = delete;
  /// The one that many tests share.
  static MariaDbServer& shared();

  /// Makes a new empty database, whose name no other process uses, and returns its URL for `root`.
  std::string createDatabase();
  /// Runs statements as `root`. Throws std::runtime_error when they fail.
  void run(const std::string& sql) const;
  std::string socket() const { return socketPath; }

private:
  const TempDir folder{"/tmp"}; // a socket's path has less than 108 characters
  std::string socketPath = folder / "s";
  int databases = 0;
};
