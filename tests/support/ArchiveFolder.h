#pragma once

#include "tests/support/Environment.h"
#include "tests/support/TempDir.h"

/// A folder with the repositories data, meta and temp, each its own only mount, and the environment that names them.
class ArchiveFolder
{
public:
  ArchiveFolder()
  {
    for (const char* name : {"data", "meta", "temp", "conf", "in"})
      std::filesystem::create_directory(root / name);
  }

  const TempDir folder;
  const std::filesystem::path root = folder.path();

private:
  const Environment environment{{{"REPOSITORYHANDLER_HOME", ANNOMEND_HANDLER_HOME},
                                 {"REPOSITORY_META", root / "meta"},
                                 {"REPOSITORY_TEMPMETA", root / "temp"},
                                 {"REPOSITORY_DICOM_DATA", root / "data"},
                                 {"OBJECTTBL", "objects"},
                                 {"QXOBJCACHETBL", "object_cache"},
                                 {"TARGETTBL", "forward_targets"},
                                 {"DEVSERVTBL", "forward_services"},
                                 {"CONF", root / "conf"}}};
};
