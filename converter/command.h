#pragma once

namespace impsconverter
{

/// The command `annomend`: reads the options, converts one presentation-state file and returns the exit status, 0 or 1.
/// An exception of the database connection leaves it.
int runCommand(int argc, char** argv);

/// What the process is set up with before anything else: the standard streams exist, a write to a closed pipe or over
/// the file size limit is an error rather than an end, and an exception that nothing catches becomes one line on
/// standard error and status 1.
void setUpProcess();

} // namespace impsconverter
