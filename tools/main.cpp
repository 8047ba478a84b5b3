// The program tarnctl.
#include "tools/tarnctl.h"

#include "base/process.h"
#include "dicom/toolkitLog.h"

int main(int argc, char** argv)
{
  return tarn::base::runProcess("tarnctl",
                                [&]
                                {
                                  tarn::dicom::redirectToolkitLog();
                                  return tarn::tools::runTarnctl(argc, argv);
                                });
}
