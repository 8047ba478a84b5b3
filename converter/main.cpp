#include "command.h"

int main(int argc, char** argv)
{
  impsconverter::setUpProcess();
  return impsconverter::runCommand(argc, argv);
}
