#include "DicomFile.h"
#include "StateWriter.h"

#include <cstdio>
#include <exception>

/// Writes the plug-in state of each sample state into the folder that is named.
int main(int argc, char** argv)
try
{
  for (const samples::SampleState& state : samples::sampleStates())
    if (argc == 2)
      samples::writeFile(std::filesystem::path(argv[1]) / state.name,
                         samples::pluginStateText(state.name, state.figures));
  return argc == 2 ? 0 : 2;
}
catch (const std::exception& problem)
{
  std::fprintf(stderr, "%s\n", problem.what());
  return 1;
}
