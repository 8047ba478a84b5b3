#include "command.h"

#include "ProcessSetup.h"
#include "ToolkitLog.h"

int main(int argc, char** argv)
{
  tarn::setUpProcess("annomend");
  tarn::dicom::redirectToolkitLog();
  return impsconverter::runCommand(argc, argv);
}
