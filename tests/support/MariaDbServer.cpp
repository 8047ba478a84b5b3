#include "MariaDbServer.h"

#include "Files.h"
#include "Processes.h"

#include <fcntl.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace
{

using Arguments = std::vector<std::string>;

/// Starts a program with `input` as its standard input and its output added to `log`.
pid_t spawn(const Arguments& arguments, int input, const std::string& log)
{
  std::vector<char*> argv;
  for (const std::string& argument : arguments)
    argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const auto become = [&]
  {
    const int output = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    execvp(argv[0], argv.data());
    return 127;
  };
  return inChild(become);
}

/// Runs the server until its standard input ends, which it does with the process that holds the other end of the pipe,
/// however that ends; then takes the folder away. Arguments: the folder, the server's options.
constexpr char kKeeper[] = R"(
trap '' INT TERM HUP
folder=$1; shift
common=(--no-defaults "--datadir=$folder/data" "--tmpdir=$folder")
if [ "$EUID" = 0 ]; then chown mysql: "$folder"; common+=(--user=mysql); fi
mariadb-install-db "${common[@]}" --auth-root-authentication-method=normal --skip-test-db --skip-name-resolve </dev/null ||
  echo '[ERROR] there is no data'
mariadbd "${common[@]}" "--socket=$folder/s" "--pid-file=$folder/pid" --skip-networking --innodb-buffer-pool-size=32M \
  --innodb-log-file-size=8M --character-set-server=utf8mb4 "$@" </dev/null &
read -r
kill -KILL $!; wait $!; rm -rf "$folder")";

std::string makeFolder()
{
  std::string folder = "/tmp/annomend-db-XXXXXX"; // short: a socket's path has less than 108 characters
  if (!mkdtemp(folder.data()))
    throw std::runtime_error("cannot make " + folder);
  return folder;
}

} // namespace

MariaDbServer::MariaDbServer(const Arguments& options) : directory(makeFolder())
{
  Arguments command{"bash", "-c", kKeeper, "bash", directory};
  command.insert(command.end(), options.begin(), options.end());
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0)
    throw std::runtime_error("cannot make a pipe");
  leash = ends[1];
  keeper = spawn(command, ends[0], directory + "/log");
  close(ends[0]);
  waitUntilReady();
}

MariaDbServer::~MariaDbServer()
{
  kill();
}

MariaDbServer& MariaDbServer::shared()
{
  static MariaDbServer instance;
  return instance;
}

void MariaDbServer::waitUntilReady()
{
  for (int attempt = 0; attempt < 1200; ++attempt)
  {
    const std::string log = contents(directory + "/log");
    if (log.find("ready for connections") != std::string::npos)
      return;
    if (log.find("[ERROR]") != std::string::npos)
      break;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  const std::string log = contents(directory + "/log");
  kill();
  throw std::runtime_error("the server did not start: " + log);
}

std::string MariaDbServer::createDatabase()
{
  const std::string name = "archive" + std::to_string(++databases);
  run("CREATE DATABASE " + name);
  return "mysql://root@localhost/" + name + "?socket=" + socket();
}

void MariaDbServer::run(const std::string& sql) const
{
  const std::string log = directory + "/client.log";
  const Arguments client{"mariadb", "--no-defaults", "--user=root", "--socket=" + socket(), "-e", sql};
  if (statusOf(spawn(client, STDIN_FILENO, log)) != 0)
    throw std::runtime_error(sql + " failed: " + contents(log));
}

void MariaDbServer::kill()
{
  if (keeper <= 0)
    return;
  close(leash);
  waitpid(keeper, nullptr, 0);
  keeper = -1;
}
