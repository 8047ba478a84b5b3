#pragma once

namespace tarn::tools
{

/// The command `tarnctl`. Writes what it shows to consoleOut() and one line for each failure to consoleError(). Returns
/// the exit status: 0 done, 1 failed, 2 a command line that is not understood.
int runTarnctl(int argc, char** argv);

} // namespace tarn::tools
