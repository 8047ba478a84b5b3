// The list of processes that is left behind when the repository handler library cannot be used.
#include "repository/client/dumpPS.h"

#include <cstdio>
#include <string>

#include <unistd.h>

namespace tarn::repository
{

void dumpPS()
{
  const std::string command = "ps --forest eax > /tmp/error_ps." + std::to_string(getpid()) + ".txt";
  if (std::FILE* pipe = popen(command.c_str(), "r")) // NOLINT(cert-env33-c): a fixed command
    pclose(pipe);
}

} // namespace tarn::repository
