#pragma once

#include "pstate/PresentationState.h"

#include <memory>

namespace impsconverter
{

/// The graphic layer of all annotations.
extern const std::string ANNLAYERNAME;

/// One output object: a copy of the input that is turned into a conformant presentation state of one image.
///
/// Calls come in this order: `setImageReferences` (makes the displayed-area item that the view setters need), the view
/// setters, the annotations, `save`.
class ValidPresentationState : public PresentationState
{
public:
  /// `instanceBase` is added to the input's Instance Number times 3700.
  ValidPresentationState(DcmDataset* dataset, const std::string& sopInstanceUid, int instanceBase, bool debug);

  /// Removes Source Image Sequence and the plug-in state, and gives the object its own Instance Number.
  bool clean() override;

  /// Makes the object refer to one image of one series (PS3.3 C.11.11), and adds a displayed-area item (C.10.4) after
  /// those that the input has.
  bool setImageReferences(const ObjectInfo& object, const std::string& frames) override;
  bool setOrientation(int rotation, bool flip) override;
  bool setSizeMode(SIZE_MODE mode) override;
  bool setPixelSpacing(double first, double second) override;
  /// Writes `zoomX` as Presentation Pixel Magnification Ratio for the size modes "MAGNIFY" and "TRUE SIZE".
  bool setZoom(double zoomX, double zoomY) override;
  /// Writes the displayed area, its corners arranged as the last orientation asks for. A second call fails.
  bool setClip(int x, int y, int width, int height) override;
  /// Writes Presentation LUT Shape, and the window into the first item of the Softcopy VOI LUT Sequence (PS3.3 C.11.8).
  bool setWindowLevel(int window, int level, bool inverted) override;

  /// Makes the graphic layer (PS3.3 C.10.7; the first one that the input has is renamed), and puts `annotationItem`
  /// into the dataset; once done it does nothing. To be called before an annotation writes.
  [[nodiscard]] bool checkAndCreateAnnotationLayer();

  /// The object is written; false for one whose image could not be found.
  bool hasContent() const { return content; }
  void dropContent() { content = false; }

private:
  bool replaceReferences(const ObjectInfo& object, const std::string& frames);
  bool hasDisplayedArea() const;

  DcmItem* displayedAreaItem = nullptr; ///< owned by the dataset; null until setImageReferences
  SIZE_MODE sizeMode = SIZE_MODE_SCALE_TO_FIT;
  CLIP_BOX_MODE clipMode = CLIP_BOX_NORMAL;

public:
  /// Item of the Graphic Annotation Sequence that the annotations fill; null until setImageReferences. It stands here
  /// because the order of the fields is fixed.
  DcmItem* annotationItem = nullptr;

private:
  std::unique_ptr<DcmItem> pendingAnnotationItem; ///< annotationItem until the dataset owns it
  Sint32 instanceBase;
  bool content = true;
};

} // namespace impsconverter
