#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

/// While it lives, the toolkit of this program refuses the elements of one tag with "Illegal call, perhaps wrong
/// parameters".
class ToolkitFault
{
public:
  enum Where
  {
    inserting, ///< an item does not take the element
    filling    ///< the element does not take its FL values
  };
  ToolkitFault(Where where, const DcmTagKey& tag);
  ~ToolkitFault();
  ToolkitFault(const ToolkitFault&) = delete;
  ToolkitFault& operator=(const ToolkitFault&) = delete;
};
