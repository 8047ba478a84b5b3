#include "converter/command.h"

#include "base/process.h"
#include "dicom/toolkitLog.h"

int main(int argc, char** argv)
{
  return tarn::base::runProcess("annomend",
                                [&]
                                {
                                  tarn::dicom::redirectToolkitLog();
                                  return impsconverter::runCommand(argc, argv);
                                });
}
