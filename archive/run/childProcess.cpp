#include "archive/run/childProcess.h"

#include <csignal>
#include <cstdlib>

#include <sys/prctl.h>
#include <unistd.h>

namespace tarn::archive
{

void leaveSignalsToTheRun(pid_t parent)
{
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent)
    _exit(EXIT_FAILURE); // it died before
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  std::signal(SIGINT, SIG_IGN);
  std::signal(SIGTERM, SIG_IGN);
}

} // namespace tarn::archive
