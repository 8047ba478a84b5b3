// The program annomend-archive.
#include "archive/command.h"
#include "base/process.h"
#include "dicom/toolkitLog.h"

int main(int argc, char** argv)
{
  return tarn::base::runProcess("annomend-archive",
                                [&]
                                {
                                  tarn::dicom::redirectToolkitLog();
                                  return tarn::archive::runArchive(argc, argv);
                                });
}
