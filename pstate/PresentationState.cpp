// What all presentation states have: a file object, its cleaning and saving, and the corners of a displayed area.
#include "pstate/PresentationState.h"

#include "base/Console.h"
#include "base/report.h"
#include "pstate/ElementWriter.h"
#include "dicom/saveFile.h"
#include "base/wrapping.h"

#include <array>
#include <cstdio>
#include <utility>

namespace impsconverter
{
namespace
{

struct Corners
{
  Sint32 left, top, right, bottom;
};

Sint32 farEdge(int start, int length)
{
  return tarn::base::wrapSub(tarn::base::wrapAdd(start, length), 1);
}

/// PS3.3 C.10.4: the corners are those that show at the top left and the bottom right of the screen, that is, after the
/// rotation and the flip of C.10.6.
Corners arrange(CLIP_BOX_MODE mode, Corners box)
{
  if (mode < CLIP_BOX_NORMAL || mode > CLIP_BOX_LEFT_RIGHT)
    return {0, 0, 0, 0};
  if (mode == CLIP_BOX_LEFT_RIGHT || mode == CLIP_BOX_TURNED)
    std::swap(box.left, box.right);
  if (mode == CLIP_BOX_TOP_BOTTOM || mode == CLIP_BOX_TURNED)
    std::swap(box.top, box.bottom);
  return box;
}

} // namespace

PresentationState::PresentationState(DcmDataset* dataset, bool debug)
  : fileFormat(dataset ? std::make_unique<DcmFileFormat>(dataset) : nullptr), debug(debug)
{
}

bool PresentationState::clean()
{
  DcmDataset& dataset = *fileFormat->getDataset();
  // PS3.3 C.11.10 asks for both elements, C.11.9 for the modality.
  dataset.insertEmptyElement(DcmTag(DCM_ContentDescription, EVR_LO));
  dataset.insertEmptyElement(DcmTag(DCM_ContentCreatorName, EVR_PN));
  dataset.putAndInsertString(DcmTag(DCM_Modality, EVR_CS), "PR");
  return true;
}

bool PresentationState::save(const tarn::dicom::SaveTarget& target, const struct stat* source)
{
  clean();
  if (debug)
  {
    tarn::base::trace(" ===== Result PS ", name, " =====");
    fileFormat->getDataset()->print(tarn::consoleOut());
    tarn::base::trace(" === END Result PS ", name, " ===");
    tarn::base::trace("Saving ", name);
  }
  return isGood(tarn::dicom::saveFile(*fileFormat, target, source),
                "Presentation State file " + name + " could not be saved: ");
}

bool PresentationState::fillDisplayArea(DcmItem& item, CLIP_BOX_MODE mode, int x, int y, int width, int height)
{
  const Corners corners = arrange(mode, {x, y, farEdge(x, width), farEdge(y, height)});
  return ElementWriter(item)
      .newPair(DCM_DisplayedAreaTopLeftHandCorner, corners.left, corners.top,
               "Displayed Area Top Left Hand Corner element could not be created: ",
               "Displayed Area Top Left Hand Corner element could not be inserted to Displayed Area Selection Item: ")
      .newPair(
          DCM_DisplayedAreaBottomRightHandCorner, corners.right, corners.bottom,
          "Displayed Area Bottom Right Hand Corner element could not be created: ",
          "Displayed Area Bottom Right Hand Corner element could not be inserted to Displayed Area Selection Item: ")
      .ok();
}

bool PresentationState::fillPixelSpacing(DcmItem& item, double first, double second)
{
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%lg\\%lg", first, second);
  return ElementWriter(item)
      .text(DCM_PresentationPixelSpacing, EVR_DS, text.data(),
            "Presentation Pixel Spacing could not be inserted to Displayed Area Selection Item: ")
      .ok();
}

} // namespace impsconverter
