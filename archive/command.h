#pragma once

namespace tarn::archive
{

/// Runs a command line of annomend-archive, and returns the exit status.
int runArchive(int argc, char** argv);

} // namespace tarn::archive
