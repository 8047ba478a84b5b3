#pragma once

#include <sys/types.h>

namespace tarn::archive
{

/// For a process that was just forked by the run `parent`: it is killed when the run dies, and leaves it to the run
/// what an interrupt or a request to terminate means.
void leaveSignalsToTheRun(pid_t parent);

} // namespace tarn::archive
