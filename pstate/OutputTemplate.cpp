// What an output takes over from the input, and what it does not.
#include "pstate/OutputTemplate.h"

#include "dicom/contents.h"
#include "privateblock/PBItem.h"

#include <utility>

namespace impsconverter
{

OutputTemplate::ElementAside::ElementAside(DcmItem& item, const DcmTagKey& tag) : item(item), element(item.remove(tag))
{
}

OutputTemplate::ElementAside::~ElementAside()
{
  if (element)
    tarn::dicom::insertOwned(item, std::move(element), false);
}

OutputTemplate::OutputTemplate(DcmDataset& input)
  : input(input), pluginState(input, PBItem(input).getTag(PBItem::kPluginStateKey)),
    references(input, DCM_ReferencedSeriesSequence), sourceImages(input, DCM_SourceImageSequence)
{
}

void OutputTemplate::removeSource(DcmDataset& dataset)
{
  dataset.findAndDeleteElement(DCM_SourceImageSequence);
  const std::unique_ptr<DcmElement> pluginState(PBItem(dataset).removePB(PBItem::kPluginStateKey));
}

} // namespace impsconverter
