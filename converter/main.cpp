#include "command.h"

#include "ProcessSetup.h"
#include "ToolkitLog.h"

int main(int argc, char** argv)
{
  tarn::endProcess(tarn::runProcess("annomend",
                                    [&]
                                    {
                                      tarn::dicom::redirectToolkitLog();
                                      return impsconverter::runCommand(argc, argv);
                                    }));
}
