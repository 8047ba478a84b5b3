#pragma once

#include <algorithm>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

/// Starts a process that exits with what `work` returns, or is aborted by its exception. No embedded database may be
/// open here.
template <class Work>
pid_t inChild(Work work)
{
  const pid_t child = fork();
  if (child == 0)
    _exit([&]() noexcept -> int { return work(); }());
  return child;
}

/// Waits for the end of a process; its exit status, or 128 and the signal that ended it.
inline int statusOf(pid_t child)
{
  int status = -1;
  waitpid(child, &status, 0);
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

/// How many of `count` processes, which begin with `work` together, end with the status 0.
template <class Work>
int succeeding(int count, Work work)
{
  int gate[2];
  if (pipe(gate) != 0)
    return -1;
  std::vector<pid_t> children;
  while (count-- > 0)
    children.push_back(inChild(
        [&]
        {
          char byte = 0;
          close(gate[1]); // its last end that is closed opens the gate
          return read(gate[0], &byte, 1) == 0 ? work() : 1;
        }));
  close(gate[0]);
  close(gate[1]);
  const auto isGood = [](pid_t child) { return statusOf(child) == 0; };
  return static_cast<int>(std::count_if(children.begin(), children.end(), isGood));
}
