// The stages before and after the window: Modality LUT and Presentation LUT.
#include "conformance/greyRules.h"

#include "conformance/lookupTables.h"
#include "conformance/references.h"

#include <algorithm>

namespace tarn::conformance
{
namespace
{

const DcmTagKey kRescale[] = {DCM_RescaleIntercept, DCM_RescaleSlope, DCM_RescaleType};

bool hasRescale(const Placed& root)
{
  return std::any_of(std::begin(kRescale), std::end(kRescale),
                     [&root](const DcmTagKey& tag) { return has(root, tag); });
}

bool isCt(const std::string& sopClass)
{
  return sopClass == UID_CTImageStorage || sopClass == UID_EnhancedCTImageStorage ||
         sopClass == UID_LegacyConvertedEnhancedCTImageStorage;
}

} // namespace

/// US says that the unit of what comes out is not specified.
void examineRescale(Examination& state)
{
  const Placed root = state.root();
  if (!hasRescale(root))
    return;
  const auto slope = numberOf(root, DCM_RescaleSlope);
  if (!slope || *slope == 0)
    state.find(root, DCM_RescaleSlope, "the rescale has no slope");
  if (!numberOf(root, DCM_RescaleIntercept))
    state.find(root, DCM_RescaleIntercept, "the rescale has no intercept");
  if (textOf(root, DCM_RescaleType).empty())
    state.find(root, DCM_RescaleType, "the rescale has no type", puttingText(root, DCM_RescaleType, EVR_LO, "US"));
}

void examineRescaleAndTable(Examination& state)
{
  if (has(state.root(), DCM_ModalityLUTSequence) && hasRescale(state.root()))
    state.find(state.root(), DCM_ModalityLUTSequence, "there is a rescale beside the table");
}

void examineModalityTable(Examination& state)
{
  const Placed root = state.root();
  if (!has(root, DCM_ModalityLUTSequence))
    return;
  if (const std::string fault = faultOfTable(root, DCM_ModalityLUTSequence, Stage::modality); !fault.empty())
    state.find(root, DCM_ModalityLUTSequence, fault);
  for (const Placed& table : itemsOf(root, DCM_ModalityLUTSequence))
    if (textOf(table, DCM_ModalityLUTType).empty())
      state.find(table, DCM_ModalityLUTType, "the table has no type");
}

void examineWindowOnStoredValues(Examination& state)
{
  const Placed root = state.root();
  const Manifest& manifest = state.manifest();
  const bool isAllCt =
      !manifest.images().empty() && std::all_of(manifest.images().begin(), manifest.images().end(),
                                                [](const Reference& image) { return isCt(image.sopClass); });
  if (!isAllCt || has(root, DCM_ModalityLUTSequence) || hasRescale(root))
    return;
  for (const Placed& item : itemsOf(root, DCM_SoftcopyVOILUTSequence))
    if (has(item, DCM_WindowCenter))
      state.find(item, DCM_WindowCenter, "without a Modality LUT it is a stored value, not one in Hounsfield units");
}

/// A shape without a value beside a table is what is left of one.
void examinePresentationLutTwice(Examination& state)
{
  const Placed root = state.root();
  if (!has(root, DCM_PresentationLUTShape) || !has(root, DCM_PresentationLUTSequence))
    return;
  const bool isShaped = hasValue(root, DCM_PresentationLUTShape) || !hasValue(root, DCM_PresentationLUTSequence);
  const DcmTagKey& needless = isShaped ? DCM_PresentationLUTSequence : DCM_PresentationLUTShape;
  state.find(root, needless, "there are a shape and a table", removing(root, needless));
}

void examinePresentationLutMissing(Examination& state)
{
  const Placed root = state.root();
  if (!hasValue(root, DCM_PresentationLUTShape) && !has(root, DCM_PresentationLUTSequence))
    state.find(root, DCM_PresentationLUTShape, "there is neither a shape nor a table",
               puttingText(root, DCM_PresentationLUTShape, EVR_CS, "IDENTITY"));
}

void examinePresentationLutShape(Examination& state)
{
  const Placed root = state.root();
  if (const std::string& shape = textOf(root, DCM_PresentationLUTShape);
      hasValue(root, DCM_PresentationLUTShape) && shape != "IDENTITY" && shape != "INVERSE")
    state.find(root, DCM_PresentationLUTShape, "'" + shape + "' is neither IDENTITY nor INVERSE");
}

void examinePresentationTable(Examination& state)
{
  if (!has(state.root(), DCM_PresentationLUTSequence))
    return;
  if (const std::string fault = faultOfTable(state.root(), DCM_PresentationLUTSequence, Stage::presentation);
      !fault.empty())
    state.find(state.root(), DCM_PresentationLUTSequence, fault);
}

} // namespace tarn::conformance
