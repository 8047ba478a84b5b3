#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <memory>

namespace impsconverter
{

/// What the outputs of one input start from: the input's dataset. While this object lives, the dataset lacks what no
/// output takes over, so that neither a large plug-in state nor a long list of references is copied or searched for in
/// each.
class OutputTemplate
{
public:
  /// `input` outlives this object, and is whole again afterwards. What it lacks until then stays where it is in memory.
  explicit OutputTemplate(DcmDataset& input);
  OutputTemplate(const OutputTemplate&) = delete;
  OutputTemplate& operator=(const OutputTemplate&) = delete;

  /// To be copied.
  DcmDataset* dataset() { return &input; }

  /// Removes what an output does not keep: Source Image Sequence (0008,2112), which the references replace, and the
  /// plug-in state.
  static void removeSource(DcmDataset& dataset);

private:
  /// Keeps an element out of its item while it lives.
  class ElementAside
  {
  public:
    ElementAside(DcmItem& item, const DcmTagKey& tag);
    ~ElementAside();
    ElementAside(const ElementAside&) = delete;
    ElementAside& operator=(const ElementAside&) = delete;

  private:
    DcmItem& item;
    std::unique_ptr<DcmElement> element;
  };

  DcmDataset& input;
  ElementAside pluginState;
  ElementAside references; ///< every output has its own
  ElementAside sourceImages;
};

} // namespace impsconverter
