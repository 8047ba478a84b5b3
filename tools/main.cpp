#include "tarnctl.h"

#include "ProcessSetup.h"
#include "ToolkitLog.h"

int main(int argc, char** argv)
{
  return tarn::runProcess("tarnctl",
                          [&]
                          {
                            tarn::dicom::redirectToolkitLog();
                            return tarn::tools::runTarnctl(argc, argv);
                          });
}
