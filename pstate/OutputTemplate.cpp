// What an output takes over from the input, and what it does not.
#include "pstate/OutputTemplate.h"

#include "dicom/contents.h"
#include "privateblock/PBItem.h"

#include <memory>

namespace impsconverter
{
namespace
{

/// Keeps an element out of its item while it lives.
class ElementAside
{
public:
  ElementAside(DcmItem& item, const DcmTagKey& tag) : item(item), element(item.remove(tag)) {}
  ~ElementAside()
  {
    if (element)
      tarn::dicom::insertOwned(item, std::move(element), false);
  }
  ElementAside(const ElementAside&) = delete;
  ElementAside& operator=(const ElementAside&) = delete;

private:
  DcmItem& item;
  std::unique_ptr<DcmElement> element;
};

/// A copy that leaves out what may be large: the plug-in state, and the references, which every output has of its own.
DcmDataset smallCopy(DcmDataset& input)
{
  const ElementAside pluginState(input, PBItem(input).getTag(PBItem::kPluginStateKey));
  const ElementAside references(input, DCM_ReferencedSeriesSequence);
  return input;
}

} // namespace

OutputTemplate::OutputTemplate(DcmDataset& input) : copy(smallCopy(input))
{
  removeSource(copy);
}

void OutputTemplate::removeSource(DcmDataset& dataset)
{
  dataset.findAndDeleteElement(DCM_SourceImageSequence);
  const std::unique_ptr<DcmElement> pluginState(PBItem(dataset).removePB(PBItem::kPluginStateKey));
}

} // namespace impsconverter
