#include "MariaDbServer.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sstream>
#include <thread>

namespace
{

using Arguments = std::vector<std::string>;

std::string textOf(const std::string& path)
{
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

/// Starts a program with `input` as its standard input and its output added to `log`.
pid_t spawn(const Arguments& arguments, int input, const std::string& log)
{
  std::vector<char*> argv;
  for (const std::string& argument : arguments)
    argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const pid_t child = fork();
  if (child != 0)
    return child;
  const int output = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  dup2(input, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  execvp(argv[0], argv.data());
  _exit(127);
}

void runToEnd(const Arguments& arguments, const std::string& log)
{
  int status = 0;
  waitpid(spawn(arguments, STDIN_FILENO, log), &status, 0);
  if (status != 0)
    throw std::runtime_error(arguments.front() + " failed: " + textOf(log));
}

/// Runs the server, a new one for each line of its standard input, until that ends, which it does with the process that
/// holds the other end of the pipe, however that ends; then takes the folder away. Arguments: the folder, the server's
/// command.
constexpr char kKeeper[] = R"(trap '' INT TERM HUP; folder=$1; shift; "$@" </dev/null &
                              while read -r; do kill -KILL $!; wait $!; "$@" </dev/null & done
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
  try
  {
    start(options);
  }
  catch (...)
  {
    kill();
    std::filesystem::remove_all(directory);
    throw;
  }
}

MariaDbServer::~MariaDbServer()
{
  kill();
  std::error_code ignored;
  std::filesystem::remove_all(directory, ignored);
}

void MariaDbServer::start(const Arguments& options)
{
  Arguments user;
  if (geteuid() == 0)
  {
    user = {"--user=mysql"};
    runToEnd({"chown", "mysql:", directory}, directory + "/log");
  }
  const std::string data = "--datadir=" + directory + "/data";
  Arguments install{"mariadb-install-db", "--no-defaults",      data, "--auth-root-authentication-method=normal",
                    "--skip-test-db",     "--skip-name-resolve"};
  install.insert(install.end(), user.begin(), user.end());
  runToEnd(install, directory + "/log");

  Arguments server{"bash",
                   "-c",
                   kKeeper,
                   "bash",
                   directory,
                   "mariadbd",
                   "--no-defaults",
                   data,
                   "--socket=" + socket(),
                   "--pid-file=" + directory + "/pid",
                   "--skip-networking",
                   "--innodb-buffer-pool-size=32M",
                   "--innodb-log-file-size=8M",
                   "--character-set-server=utf8mb4"};
  server.insert(server.end(), user.begin(), user.end());
  server.insert(server.end(), options.begin(), options.end());
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0)
    throw std::runtime_error("cannot make a pipe");
  leash = ends[1];
  keeper = spawn(server, ends[0], directory + "/log");
  close(ends[0]);
  waitUntilReady();
}

void MariaDbServer::waitUntilReady() const
{
  for (int attempt = 0; attempt < 600; ++attempt)
  {
    const std::string log = textOf(directory + "/log");
    if (log.find("ready for connections") != std::string::npos)
      return;
    if (log.find("[ERROR]") != std::string::npos)
      break;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  throw std::runtime_error("the server did not start: " + textOf(directory + "/log"));
}

std::string MariaDbServer::createDatabase()
{
  const std::string name = "archive" + std::to_string(++databases);
  run("CREATE DATABASE " + name);
  return "mysql://root@localhost/" + name + "?socket=" + socket();
}

void MariaDbServer::run(const std::string& sql) const
{
  runToEnd({"mariadb", "--no-defaults", "--user=root", "--socket=" + socket(), "-e", sql}, directory + "/client.log");
}

void MariaDbServer::restart()
{
  std::filesystem::resize_file(directory + "/log", 0);
  if (write(leash, "\n", 1) != 1)
    throw std::runtime_error("the server's keeper has ended");
  waitUntilReady();
}

void MariaDbServer::kill()
{
  if (keeper <= 0)
    return;
  close(leash);
  waitpid(keeper, nullptr, 0);
  keeper = -1;
}
