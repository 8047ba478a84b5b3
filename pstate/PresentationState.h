#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <memory>
#include <string>

#include <sys/stat.h>

namespace tarn::dicom
{
struct SaveTarget;
} // namespace tarn::dicom

namespace impsconverter
{

class ObjectInfo;

/// Presentation Size Mode (PS3.3 C.10.4); every value that is not named here means "SCALE TO FIT".
enum SIZE_MODE : int
{
  SIZE_MODE_SCALE_TO_FIT = 0,
  SIZE_MODE_MAGNIFY = 1,
  SIZE_MODE_TRUE_SIZE = 3
};

/// Which corners of the displayed area are exchanged, so that rotation and flip reach it; any other value gives zero
/// corners.
enum CLIP_BOX_MODE : int
{
  CLIP_BOX_NORMAL = 0,
  CLIP_BOX_TOP_BOTTOM = 1,
  CLIP_BOX_TURNED = 2,
  CLIP_BOX_LEFT_RIGHT = 3
};

/// A Grayscale Softcopy Presentation State (PS3.3 A.33.1) that is changed and saved. Operations that fail write their
/// one line and return false; what was written before stays in the dataset. Coordinates are image pixels, the top left
/// one being column 1, row 1.
class PresentationState
{
public:
  /// Holds a deep copy of `dataset`; nothing when it is null.
  PresentationState(DcmDataset* dataset, bool debug);
  PresentationState(const PresentationState&) = delete;
  PresentationState& operator=(const PresentationState&) = delete;

  /// Makes the dataset fit to leave the archive; `save` calls it.
  virtual bool clean();

  /// The image that the state is for (PS3.3 C.11.11); `frames` is written as it stands (IS, not checked).
  virtual bool setImageReferences(const ObjectInfo& object, const std::string& frames) = 0;
  /// Degrees clockwise, and a horizontal flip after the rotation (PS3.3 C.10.6); the value is not checked.
  virtual bool setOrientation(int rotation, bool flip) = 0;
  virtual bool setSizeMode(SIZE_MODE mode) = 0;
  /// Millimetres (PS3.3 C.10.4), in the order of Presentation Pixel Spacing (0070,0101).
  virtual bool setPixelSpacing(double first, double second) = 0;
  /// Displayed pixels for each image pixel, along columns and rows (PS3.3 C.10.4).
  virtual bool setZoom(double zoomX, double zoomY) = 0;
  /// The area that is shown: its top left pixel, and its size in pixels (PS3.3 C.10.4).
  virtual bool setClip(int x, int y, int width, int height) = 0;
  /// Window width and centre (PS3.3 C.11.8), in the values that the state's Modality LUT gives; `inverted` shows high
  /// values dark.
  virtual bool setWindowLevel(int window, int level, bool inverted) = 0;

  virtual ~PresentationState() = default;

  /// Cleans the dataset and writes it to `target`, in its own transfer syntax. The file appears when it is complete; on
  /// failure what stood there stays.
  [[nodiscard]] bool save(const tarn::dicom::SaveTarget& target) { return save(target, nullptr); }

  const std::string& outputName() const { return name; }
  bool isDebug() const { return debug; }
  /// Gives the file object up.
  std::unique_ptr<DcmFileFormat> releaseFile() { return std::move(fileFormat); }

protected:
  /// Saves a copy of `source`: nobody else may do with it what they may not do with that file. Null for an object that
  /// is no copy.
  [[nodiscard]] bool save(const tarn::dicom::SaveTarget& target, const struct stat* source);
  /// Puts the two corners (PS3.3 C.10.4) of an area `width` x `height` pixels at (x, y) into `item`; the far edges wrap
  /// at 32 bits. A corner that exists already is a failure and stays.
  static bool fillDisplayArea(DcmItem& item, CLIP_BOX_MODE mode, int x, int y, int width, int height);
  /// Puts Presentation Pixel Spacing, six digits a value, in place of one that exists.
  static bool fillPixelSpacing(DcmItem& item, double first, double second);

  std::unique_ptr<DcmFileFormat> fileFormat;
  std::string name; ///< of the output file, without directory
  bool debug;
};

} // namespace impsconverter
