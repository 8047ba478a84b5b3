#include "tests/support/MariaDbServer.h"

#include "tests/support/Files.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include <unistd.h>

MariaDbServer::MariaDbServer(const std::string& options)
{
  if (const char* const running = std::getenv("ANNOMEND_TEST_SERVER"); running && options.empty())
  {
    socketPath = contents(running);
    return;
  }
  const std::string command = ANNOMEND_START_SERVER " " + std::to_string(getpid()) + " " + folder / "" + " " + options;
  if (std::system(command.c_str()) != 0)
    throw std::runtime_error("the server did not start: " + contents(folder / "log"));
}

MariaDbServer::~MariaDbServer()
{
  if (const std::string own = contents(folder / "pid"); !own.empty())
    kill(std::stoi(own), SIGKILL);
}

MariaDbServer& MariaDbServer::shared()
{
  static MariaDbServer instance;
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
  const std::string client = "mariadb --no-defaults --skip-ssl --user=root --socket=" + socket() + " >" + log + " 2>&1";
  std::FILE* input = popen(client.c_str(), "we");
  if (!input || std::fputs(sql.c_str(), input) < 0 || pclose(input) != 0)
    throw std::runtime_error(sql + " failed: " + contents(log));
}
