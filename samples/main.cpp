// annomend-samples: writes the sample archive into a folder.
#include <exception>
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>

#include "samples/archive.h"

int main(int argc, char** argv)
{
  try
  {
    std::string directory;
    CLI::App app{"Writes an archive of drawn images and of presentation states with private annotations.",
                 "annomend-samples"};
    app.set_version_flag("--version", "annomend-samples " ANNOMEND_VERSION);
    app.add_option("DIRECTORY", directory, "The folder of the archive; made where there is none")
        ->type_name("")
        ->required();
    try
    {
      app.parse(argc, argv);
    }
    catch (const CLI::Success& answer) // help or version
    {
      return app.exit(answer);
    }
    catch (const CLI::ParseError&)
    {
      std::cerr << "Usage: annomend-samples DIRECTORY\n";
      return 2;
    }
    samples::writeArchive(directory);
    return 0;
  }
  catch (const std::exception& problem)
  {
    std::cerr << "annomend-samples: " << problem.what() << '\n';
    return 1;
  }
}
