#pragma once

namespace impsconverter
{

/// The command `annomend`: reads the options, converts one presentation-state file and returns the exit status, 0 or 1.
/// An exception of the database connection leaves it.
int runCommand(int argc, char** argv);

} // namespace impsconverter
