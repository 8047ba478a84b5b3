#include "tarnctl.h"

#include "ProcessSetup.h"
#include "ToolkitLog.h"

int main(int argc, char** argv)
{
  tarn::setUpProcess("tarnctl");
  tarn::dicom::redirectToolkitLog();
  return tarn::tools::runTarnctl(argc, argv);
}
