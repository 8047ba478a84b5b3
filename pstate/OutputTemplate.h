#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

namespace impsconverter
{

/// What the outputs of one input start from: a copy of its dataset without what no output keeps. Each output copies it
/// in turn, so that neither a large plug-in state nor a long list of references is copied or searched for in each.
class OutputTemplate
{
public:
  /// `input` is the same afterwards.
  explicit OutputTemplate(DcmDataset& input);

  DcmDataset* dataset() { return &copy; }

  /// Removes what an output does not keep: Source Image Sequence (0008,2112), which the references replace, and the
  /// plug-in state.
  static void removeSource(DcmDataset& dataset);

private:
  DcmDataset copy;
};

} // namespace impsconverter
