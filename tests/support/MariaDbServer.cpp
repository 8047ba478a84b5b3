#include "tests/support/MariaDbServer.h"

#include "tests/support/Files.h"

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include <unistd.h>

namespace
{

/// Runs the server until its standard input ends, which it does with the process that holds the other end of the pipe,
/// however that ends; then takes the folder away. Arguments: the folder, the server's options.
constexpr char kKeeper[] = R"(
trap "" INT TERM HUP
folder=$1; shift
exec >>"$folder/log" 2>&1
common=(--no-defaults "--datadir=$folder/data" "--tmpdir=$folder")
if [ "$EUID" = 0 ]; then chown mysql: "$folder"; common+=(--user=mysql); fi
mariadb-install-db "${common[@]}" --auth-root-authentication-method=normal --skip-test-db --skip-name-resolve </dev/null ||
  echo "[ERROR] there is no data"
mariadbd "${common[@]}" "--socket=$folder/s" "--pid-file=$folder/pid" --skip-networking --innodb-buffer-pool-size=32M \
  --innodb-log-file-size=8M --character-set-server=utf8mb4 "$@" </dev/null &
read -r
kill -KILL $!; wait $!; rm -rf "$folder")";

} // namespace

MariaDbServer::MariaDbServer(const std::string& options)
{
  const std::string command = std::string("exec bash -c '") + kKeeper + "' bash " + folder / "" + " " + options;
  leash.reset(popen(command.c_str(), "we"));
  std::string log;
  for (int attempt = 0; attempt < 1200 && log.find("[ERROR]") == std::string::npos; ++attempt)
  {
    log = contents(folder / "log");
    if (log.find("ready for connections") != std::string::npos)
      return;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  throw std::runtime_error("the server did not start: " + log);
}

MariaDbServer& MariaDbServer::shared()
{
  const char* const running = std::getenv("ANNOMEND_TEST_SERVER");
  static MariaDbServer instance = running ? MariaDbServer(Running{contents(running)}) : MariaDbServer();
  return instance;
}

std::string MariaDbServer::createDatabase()
{
  const std::string name = "archive_" + std::to_string(getpid()) + "_" + std::to_string(++databases);
  run("CREATE DATABASE " + name);
  return "mysql://root@localhost/" + name + "?socket=" + socket();
}

void MariaDbServer::run(const std::string& sql) const
{
  const std::string log = folder / "client.log";
  const std::string client = "mariadb --no-defaults --user=root --socket=" + socket() + " >" + log + " 2>&1";
  std::FILE* input = popen(client.c_str(), "we");
  if (!input || std::fputs(sql.c_str(), input) < 0 || pclose(input) != 0)
    throw std::runtime_error(sql + " failed: " + contents(log));
}
