// A presentation state of one image, module by module (PS3.3 A.33.1).
#include "pstate/ValidPresentationState.h"

#include "base/report.h"
#include "dicom/contents.h"
#include "pstate/ElementWriter.h"
#include "images/ObjectInfo.h"
#include "privateblock/PBItem.h"
#include "base/wrapping.h"

#include <memory>

namespace impsconverter
{

const std::string ANNLAYERNAME = "ANNLAYER1";

namespace
{

/// The modality code; the toolkit's own table has another text for the class.
constexpr char kFilePrefix[] = "PR";
constexpr std::size_t kLongestName = 254;

constexpr Sint32 kDefaultInstanceNumber = 9;
constexpr Sint32 kInstanceNumberFactor = 3700;

struct Arrangement
{
  int rotation;
  bool flip;
  CLIP_BOX_MODE mode;
};

// PS3.3 C.10.4: corners as seen after the rotation and the flip. A quarter turn exchanges them as a flip does, which
// the viewer's outputs have always done; pairs that are not listed leave the corners as they were.
constexpr Arrangement kArrangements[] = {
    {90, false, CLIP_BOX_TOP_BOTTOM}, {180, true, CLIP_BOX_TOP_BOTTOM},  {180, false, CLIP_BOX_TURNED},
    {270, true, CLIP_BOX_TURNED},     {270, false, CLIP_BOX_LEFT_RIGHT}, {0, true, CLIP_BOX_LEFT_RIGHT},
};

/// PS3.3 C.10.4
const char* sizeModeText(SIZE_MODE mode)
{
  if (mode == SIZE_MODE_MAGNIFY)
    return "MAGNIFY";
  return mode == SIZE_MODE_TRUE_SIZE ? "TRUE SIZE" : "SCALE TO FIT";
}

/// Puts a new sequence that holds `item` alone into `target`, replacing what is there. What could not be inserted is
/// deleted.
bool insertSequence(DcmItem& target, const DcmTagKey& tag, std::unique_ptr<DcmItem> item, const char* itemMessage,
                    const char* sequenceMessage)
{
  auto sequence = std::make_unique<DcmSequenceOfItems>(DcmTag(tag, EVR_SQ));
  return isGood(tarn::dicom::insertOwned(*sequence, std::move(item)), itemMessage) &&
         isGood(tarn::dicom::insertOwned(target, std::move(sequence), true), sequenceMessage);
}

} // namespace

ValidPresentationState::ValidPresentationState(DcmDataset* dataset, const std::string& sopInstanceUid, int instanceBase,
                                               bool debug)
  : PresentationState(dataset, debug), instanceBase(instanceBase)
{
  // PS3.3 C.12.1: an object of its own
  fileFormat->getDataset()->putAndInsertString(DcmTag(DCM_SOPInstanceUID, EVR_UI), sopInstanceUid.c_str());
  name = (kFilePrefix + ("." + sopInstanceUid)).substr(0, kLongestName);
}

bool ValidPresentationState::hasDisplayedArea() const
{
  if (!displayedAreaItem)
    tarn::base::report("Displayed Area Selection Item was expected but does not exist");
  return displayedAreaItem != nullptr;
}

bool ValidPresentationState::setOrientation(int rotation, bool flip)
{
  for (const Arrangement& row : kArrangements)
    if (row.rotation == rotation && row.flip == flip)
      clipMode = row.mode;
  // PS3.3 C.10.6
  return ElementWriter(*fileFormat->getDataset())
      .number(DCM_ImageRotation, static_cast<Uint16>(rotation), "Image Rotation could not be set: ")
      .text(DCM_ImageHorizontalFlip, EVR_CS, flip ? "Y" : "N", "Image Horizontal Flip could not be set: ")
      .ok();
}

bool ValidPresentationState::setClip(int x, int y, int width, int height)
{
  return hasDisplayedArea() && fillDisplayArea(*displayedAreaItem, clipMode, x, y, width, height);
}

bool ValidPresentationState::setSizeMode(SIZE_MODE mode)
{
  sizeMode = mode;
  return hasDisplayedArea() &&
         ElementWriter(*displayedAreaItem)
             .text(DCM_PresentationSizeMode, EVR_CS, sizeModeText(mode),
                   "Presentation Size Mode could not be inserted to Displayed Area Selection Item: ")
             .ok();
}

bool ValidPresentationState::setZoom(double zoomX, double /*zoomY*/)
{
  if (!hasDisplayedArea())
    return false;
  // PS3.3 C.10.4: the ratio is for "MAGNIFY"; "TRUE SIZE" carries it too.
  if (sizeMode != SIZE_MODE_MAGNIFY && sizeMode != SIZE_MODE_TRUE_SIZE)
    return true;
  return ElementWriter(*displayedAreaItem)
      .real(DCM_PresentationPixelMagnificationRatio, static_cast<Float32>(zoomX),
            "Presentation Pixel Magnification Ratio could not be inserted to Displayed Area Selection Item: ")
      .ok();
}

bool ValidPresentationState::setPixelSpacing(double first, double second)
{
  return hasDisplayedArea() && fillPixelSpacing(*displayedAreaItem, first, second);
}

bool ValidPresentationState::setWindowLevel(int window, int level, bool inverted)
{
  DcmDataset& dataset = *fileFormat->getDataset();
  DcmItem* lut = nullptr;
  const bool found =
      ElementWriter(dataset) // PS3.3 C.11.6, and C.11.8 for the window
          .text(DCM_PresentationLUTShape, EVR_CS, inverted ? "INVERSE" : "IDENTITY",
                "Presentation LUT Shape could not be inserted to dataset: ")
          .firstItem(DCM_SoftcopyVOILUTSequence, lut, "Softcopy VOI LUT Sequence item could not created: ")
          .ok();
  return found && ElementWriter(*lut)
                      .text(DCM_WindowCenter, EVR_DS, std::to_string(level),
                            "Window Center could not be inserted to Softcopy VOI LUT Sequence item: ")
                      .text(DCM_WindowWidth, EVR_DS, std::to_string(window),
                            "Window Width could not be inserted to Softcopy VOI LUT Sequence item: ")
                      .ok();
}

bool ValidPresentationState::replaceReferences(const ObjectInfo& object, const std::string& frames)
{
  // PS3.3 C.11.11: one series, one image of it
  auto image = std::make_unique<DcmItem>();
  const bool filled = ElementWriter(*image)
                          .text(DCM_ReferencedSOPClassUID, EVR_UI, object.sopClassUid,
                                "Referenced SOP Class UID could not be inserted to Referenced Image Sequence: ")
                          .text(DCM_ReferencedSOPInstanceUID, EVR_UI, object.sopInstanceUid,
                                "Referenced SOP Instance UID could not be inserted to Referenced Image Sequence: ")
                          .ok();
  if (!filled)
    return false;
  image->putAndInsertString(DcmTag(DCM_ReferencedFrameNumber, EVR_IS), frames.c_str());

  auto series = std::make_unique<DcmItem>();
  return ElementWriter(*series)
             .text(DCM_SeriesInstanceUID, EVR_UI, object.seriesInstanceUid,
                   "Series Instance UID could not be inserted to Referenced Series Sequence item: ")
             .ok() &&
         insertSequence(*series, DCM_ReferencedImageSequence, std::move(image),
                        "Referenced Image Sequence Item could not be inserted: ",
                        "Referenced Image Sequence could not be inserted to Referenced Series Sequence item: ") &&
         insertSequence(*fileFormat->getDataset(), DCM_ReferencedSeriesSequence, std::move(series),
                        "Referenced Series Sequence Item could not be inserted: ",
                        "Referenced Series Sequence could not be inserted to dataset: ");
}

bool ValidPresentationState::setImageReferences(const ObjectInfo& object, const std::string& frames)
{
  if (!replaceReferences(object, frames))
    return false;
  const bool created = ElementWriter(*fileFormat->getDataset())
                           .appendItem(DCM_DisplayedAreaSelectionSequence, displayedAreaItem,
                                       "No new item could be created in Displayed Area Selection Sequence: ")
                           .ok();
  if (!created)
  {
    displayedAreaItem = nullptr;
    return false;
  }
  pendingAnnotationItem = std::make_unique<DcmItem>();
  annotationItem = pendingAnnotationItem.get();
  return true;
}

bool ValidPresentationState::checkAndCreateAnnotationLayer()
{
  if (annotationItem && !pendingAnnotationItem)
    return true;
  // PS3.3 C.10.7: annotations belong to a layer
  DcmItem* layer = nullptr;
  DcmDataset& dataset = *fileFormat->getDataset();
  const bool made =
      ElementWriter(dataset)
          .firstItem(DCM_GraphicLayerSequence, layer, "Graphic Layer Sequence item could not be created: ")
          .ok() &&
      ElementWriter(*layer)
          .text(DCM_GraphicLayer, EVR_CS, ANNLAYERNAME, "Graphic Layer name could not be created: ")
          .text(DCM_GraphicLayerOrder, EVR_IS, "1", "Graphic Layer Order could not be created: ")
          .ok() &&
      isGood(dataset.insertSequenceItem(DcmTag(DCM_GraphicAnnotationSequence, EVR_SQ), pendingAnnotationItem.get()),
             "Graphic Annotation Sequence item could not be created: "); // PS3.3 C.10.5
  if (!made)
    return false;
  static_cast<void>(pendingAnnotationItem.release()); // the dataset's
  return ElementWriter(*annotationItem)
      .text(DCM_GraphicLayer, EVR_CS, ANNLAYERNAME, "Graphic Layer could not be added to Graphic Annotation Sequence: ")
      .ok();
}

bool ValidPresentationState::clean()
{
  PresentationState::clean();
  DcmDataset& dataset = *fileFormat->getDataset();
  // What an output does not keep: the references replace the source images, and the annotations the plug-in state.
  dataset.findAndDeleteElement(DCM_SourceImageSequence);
  const std::unique_ptr<DcmElement> pluginState(PBItem(dataset).removePB(PBItem::kPluginStateKey));

  // PS3.3 C.11.10: a number of its own; outputs of one series differ in it.
  Sint32 inputNumber = 0;
  if (dataset.findAndGetSint32(DCM_InstanceNumber, inputNumber).bad())
    inputNumber = kDefaultInstanceNumber;
  const std::string text =
      std::to_string(tarn::base::wrapAdd(tarn::base::wrapMul(inputNumber, kInstanceNumberFactor), instanceBase));
  return ElementWriter(dataset)
      .text(DCM_InstanceNumber, EVR_IS, text,
            ("Instance Number " + text + " could not be inserted to dataset: ").c_str())
      .ok();
}

} // namespace impsconverter
