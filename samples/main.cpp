#include <exception>
#include <iostream>

#include "samples/Archive.h"

int main(int argc, char** argv)
{
  if (argc != 2)
  {
    std::cerr << "Usage: annomend-samples DIRECTORY\n";
    return 2;
  }
  try
  {
    samples::writeArchive(argv[1]);
    return 0;
  }
  catch (const std::exception& problem)
  {
    std::cerr << "annomend-samples: " << problem.what() << '\n';
    return 1;
  }
}
