// The table of all rules. A rule is added by a row here and its function in the file of its module.
#include "conformance/Rule.h"

#include "conformance/areaRules.h"
#include "conformance/characterSetRules.h"
#include "conformance/compoundRules.h"
#include "conformance/graphicRules.h"
#include "conformance/greyRules.h"
#include "conformance/headerRules.h"
#include "conformance/layerRules.h"
#include "conformance/planeRules.h"
#include "conformance/referenceRules.h"
#include "conformance/styleRules.h"
#include "conformance/textObjectRules.h"

namespace tarn::conformance
{

const std::vector<Rule>& rules()
{
  constexpr Level kError = Level::error, kNote = Level::note;
  static const std::vector<Rule> kRules{
      // Texts of the whole data set. They are decoded before anything rewrites them.
      {"character-set-unknown", "texts-made-utf8", "C.12.1.1.2", kError,
       "The terms of Specific Character Set are defined ones that may stand together; one that is not is replaced "
       "where "
       "all texts are ASCII or UTF-8.",
       examineCharacterSets},
      {"text-outside-character-set", "texts-made-utf8", "C.12.1.1.2", kError,
       "Every text is one of the declared character set; where one is not, all become ISO_IR 192.",
       examineTextCharacters},
      {"text-looks-like-utf8", nullptr, "C.12.1.1.2", kNote,
       "A text of a character set of single bytes is not UTF-8 at the same time: readers show two characters for one.",
       examineTextsLikeUtf8},
      {"control-character", "control-characters-removed", "C.10.5, PS3.5 6.1.3", kError,
       "Texts have no control characters but those that their VR allows, text objects line breaks alone; a tab becomes "
       "a "
       "blank.",
       examineControlCharacters},
      {"text-too-long", nullptr, "PS3.5 6.2", kError,
       "A text of the presentation state itself has no more characters than its VR allows.", examineTextLengths},
      {"other-text-too-long", nullptr, "PS3.5 6.2", kNote,
       "A text of the patient, the study or the equipment has no more characters than its VR allows.",
       examineOtherTextLengths},

      // What it is, whose, and when it was made.
      {"class-unfit", nullptr, "A.33.1", kError,
       "The SOP class is Grayscale Softcopy Presentation State Storage, and none whose UID only begins so.",
       examineClass},
      {"uid-invalid", nullptr, "C.12.1, C.7.2.1, C.7.3.1, PS3.5 9.1", kError,
       "The UIDs of instance, study and series are there, and are UIDs.", examineUids},
      {"vr-unfit", "vr-set", "PS3.5 6.2, PS3.6", kError,
       "Attributes have the VR of the data dictionary, or UN where they are no text.", examineVrs},
      {"pixel-data-present", "pixel-data-removed", "A.33.1, C.7.6.3", kError, "A presentation state has no pixels.",
       examinePixels},
      {"modality-unfit", "modality-set", "C.11.9", kError, "The modality is PR.", examineModality},
      {"content-label-missing", "content-label-supplied", "C.11.10, 10.9.2", kError, "There is a content label.",
       examineContentLabelMissing},
      {"content-label-unfit", "content-label-mended", "C.11.10, PS3.5 6.2", kError,
       "The content label is a code string: capitals, digits, blanks and underscores, 16 at most.",
       examineContentLabel},
      {"instance-number-missing", nullptr, "C.11.10, 10.9.2", kError, "There is an instance number.",
       examineInstanceNumber},
      {"creation-date-missing", "creation-date-supplied", "C.11.10", kError,
       "There are a date and a time of creation; else those of the study, the series or the content stand in.",
       examineCreationDate},
      {"type-2-missing", "type-2-supplied", "C.7.1.1, C.7.2.1, C.7.3.1, C.7.5.1, C.11.10", kError,
       "Attributes of type 2 are there, with a value or empty.", examineTypeTwo},
      {"header-value-unfit", nullptr, "PS3.5 6.2", kError,
       "Dates, times, numbers and code strings of patient, study and series have the form of their VR.",
       examineHeaderValues},
      {"description-too-long", "description-cut", "PS3.5 6.2", kError,
       "The descriptions of study and series have at most 64 letters.", examineDescriptions},
      {"laterality-missing", "laterality-supplied", "C.7.3.1", kNote,
       "Laterality is there, even empty, unless the body part is known to have no left and right.", examineLaterality},
      {"laterality-needless", "laterality-removed", "C.7.3.1", kNote,
       "An empty laterality does not stand with a body part that has no left and right.", examineLateralityNeedless},
      {"patient-name-empty", nullptr, "C.7.1.1", kNote, "The patient has a name.", examinePatientName},
      {"private-block-empty", "private-creator-removed", "PS3.5 7.8.1", kNote,
       "The converter's private block is not reserved when nothing is left in it.", examinePrivateCreator},

      // Which images it is for.
      {"reference-missing", nullptr, "C.11.11", kError,
       "A presentation state refers to at least one series, and each series to at least one image.", examineReferences},
      {"reference-uid-invalid", nullptr, "C.11.11, 10.3", kError,
       "The UIDs of series, class and instance of an image are there, and are UIDs.", examineReferenceUids},
      {"frame-number-unfit", "frame-number-removed", "10.3", kError,
       "Frame numbers stand with multi-frame classes alone, and number frames that the image has.",
       examineFrameNumbers},
      {"image-twice", "image-reference-removed", "C.11.11", kError,
       "The state refers to an image once, or to frames of it that differ.", examineImagesTwice},
      {"item-elsewhere", "item-elsewhere-removed", "C.10.4, C.10.5, C.11.8", kError,
       "Areas, windows and annotations are for images that the state refers to.", examineItemsElsewhere},
      {"item-reference-elsewhere", "item-reference-elsewhere-removed", "C.10.4, C.10.5, C.11.8", kError,
       "Areas, windows and annotations refer to no other image than the state does.", examineReferencesElsewhere},
      {"item-reference-needless", "item-reference-removed", "C.10.4, C.10.5, C.11.8", kError,
       "What is for all images and frames of the state refers to none of them.", examineNeedlessReferences},
      {"item-reference-class-differs", nullptr, "10.3", kError,
       "Areas, windows and annotations refer to an image with the class that the state says.",
       examineItemReferenceUids},

      // How the image is turned, and what of it is shown.
      {"transformation-incomplete", "transformation-completed", "C.10.6", kError, "Rotation and flip stand together.",
       examineTransformationPair},
      {"transformation-unfit", nullptr, "C.10.6", kError, "The rotation is 0, 90, 180 or 270, and the flip Y or N.",
       examineTransformation},
      {"area-missing", "area-supplied", "C.10.4", kError, "There is a displayed area.", examineAreaMissing},
      {"area-corners-missing", "area-corners-supplied", "C.10.4", kError,
       "Both corners of an area are there; else it is all of the image where its size is known, or the area before.",
       examineAreaCorners},
      {"area-twice", "area-removed", "C.10.4", kError,
       "An image has one area; of several for one image the last stays.", examineAreasTwice},
      {"area-missing-for-image", nullptr, "C.10.4", kError, "Each image of the state has an area.",
       examineAreaCoverage},
      {"area-corners-unturned", "area-corners-turned", "C.10.4", kError,
       "The top left corner is the pixel that is shown there after rotation and flip.", examineCornerOrder},
      {"area-corner-zero", nullptr, "C.10.4", kNote, "Columns and rows of a corner count from 1.", examineCornerZero},
      {"area-sizes-differ", nullptr, "C.10.4", kNote, "An area is for images of one size.", examineAreaSizes},
      {"size-mode-unfit", "size-mode-set", "C.10.4", kError,
       "The size mode is SCALE TO FIT, TRUE SIZE or MAGNIFY; else SCALE TO FIT stands in.", examineSizeMode},
      {"pixel-spacing-unfit", "pixel-spacing-removed", "C.10.4", kError, "The pixel spacing is two lengths above 0.",
       examinePixelSpacing},
      {"aspect-ratio-needless", "aspect-ratio-removed", "C.10.4", kError, "There is no aspect ratio beside a spacing.",
       examineAspectRatioNeedless},
      {"aspect-ratio-missing", "aspect-ratio-supplied", "C.10.4", kError,
       "Where there is no spacing there is an aspect ratio; else pixels are square.", examineAspectRatio},
      {"magnification-missing", "magnify-replaced", "C.10.4", kError,
       "MAGNIFY has a magnification ratio; else SCALE TO FIT stands in.", examineMagnification},
      {"magnification-needless", "magnification-removed", "C.10.4", kError,
       "A magnification ratio stands with MAGNIFY alone.", examineMagnificationNeedless},
      {"true-size-without-spacing", "true-size-replaced", "C.10.4", kError,
       "TRUE SIZE has a pixel spacing; else SCALE TO FIT stands in.", examineTrueSize},
      {"pixel-origin-unfit", "pixel-origin-set", "C.10.4", kError,
       "The pixel origin is FRAME or VOLUME, and is there for whole slides.", examinePixelOrigin},

      // How stored values become grey.
      {"rescale-incomplete", "rescale-type-supplied", "C.11.1", kError,
       "Rescale slope, which is not 0, intercept and type stand together.", examineRescale},
      {"modality-lut-twice", nullptr, "C.11.1", kError, "The Modality LUT is a rescale or a table, not both.",
       examineRescaleAndTable},
      {"modality-table-unfit", nullptr, "C.11.1", kError,
       "The table of the Modality LUT is one, has a type, and is as long as it says.", examineModalityTable},
      {"window-incomplete", "window-removed", "C.11.2", kError, "Centre and width of a window stand together.",
       examineWindowRemnants},
      {"window-missing", "window-item-removed", "C.11.8", kError,
       "An item of the Softcopy VOI LUT has a window or a table.", examineWindowMissing},
      {"window-twice", "window-item-twice-removed", "C.11.8", kError,
       "An image has one window or table; of several for one image the first stays.", examineWindowsTwice},
      {"window-and-table", "window-table-removed", "C.11.8", kError,
       "An item of the Softcopy VOI LUT has a window or a table, not both.", examineWindowAndTable},
      {"window-several", "window-first-kept", "C.11.8", kError,
       "An item has one pair of centre and width, and one explanation.", examineWindowSeveral},
      {"window-function-unfit", nullptr, "C.11.2.1.3", kError,
       "The function of a window is LINEAR, LINEAR_EXACT or SIGMOID.", examineWindowFunction},
      {"window-width-unfit", "window-width-set", "C.11.2.1.2", kError,
       "A window is at least 1 wide; exact and sigmoid ones have some width.", examineWindowWidth},
      {"window-table-unfit", nullptr, "C.11.2", kError, "The table of an item is one, and is as long as it says.",
       examineVoiTable},
      {"window-on-stored-values", nullptr, "PS3.4 N.2", kNote,
       "A window for CT comes with a Modality LUT; else it holds for stored values.", examineWindowOnStoredValues},
      {"presentation-lut-twice", "presentation-lut-removed", "C.11.6", kError,
       "The Presentation LUT is a shape or a table, not both; the shape stays.", examinePresentationLutTwice},
      {"presentation-lut-missing", "presentation-lut-supplied", "C.11.6", kError,
       "There is a Presentation LUT; else IDENTITY stands in.", examinePresentationLutMissing},
      {"presentation-lut-shape-unfit", nullptr, "C.11.6", kError,
       "The shape of the Presentation LUT is IDENTITY or INVERSE.", examinePresentationLutShape},
      {"presentation-table-unfit", nullptr, "C.11.6", kError,
       "The table of the Presentation LUT is one, begins at 0, and is as long as it says.", examinePresentationTable},

      // What lies over the image.
      {"shutter-shape-unfit", nullptr, "C.7.6.11, C.7.6.15", kError,
       "A shutter is BITMAP, or RECTANGULAR, CIRCULAR and POLYGONAL, each once.", examineShutterShape},
      {"shutter-part-needless", "shutter-part-removed", "C.7.6.11, C.7.6.15", kError,
       "Edges, circle, corners and overlay of a shutter stand with their shape alone.", examineShutterParts},
      {"shutter-geometry-unfit", nullptr, "C.7.6.11", kError,
       "A shutter has the edges, circle or corners of its shape.", examineShutterGeometry},
      {"shutter-value-missing", "shutter-value-supplied", "C.11.12", kError,
       "A shutter has a presentation value; else it is black.", examineShutterValue},
      {"shutter-overlay-unfit", nullptr, "C.7.6.15", kError,
       "A bitmap shutter names an overlay of the state, which is drawn in no layer.", examineShutterOverlay},
      {"mask-unfit", nullptr, "C.7.6.10, C.11.13", kError,
       "A mask is one, has an operation and its frames, and is viewed as SUB.", examineMask},
      {"overlay-unfit", nullptr, "C.9.2", kError,
       "An overlay has rows, columns, type and origin, one bit a pixel, and data for all of them.", examineOverlays},

      // Text objects (C.10.5).
      {"text-empty", "text-dropped", "C.10.5", kError, "A text object has a text.", examineEmptyTexts},
      {"text-object-too-long", "text-split", "PS3.5 6.2", kError,
       "A text object has at most 1,024 characters; a longer text becomes several, below each other.",
       examineLongTexts},
      {"text-place-missing", nullptr, "C.10.5", kError, "A text object has a bounding box or an anchor point.",
       examineTextPlaces},
      {"text-attribute-invalid", nullptr, "C.10.5", kError,
       "The corners, units and justification of a box, and the point, units and visibility of an anchor, stand "
       "together "
       "and are valid.",
       examineTextAttributes},
      {"text-box-turned", nullptr, "C.10.5.1.1", kNote,
       "The top left corner of a bounding box is above and left of the other where the image is not turned.",
       examineTextBoxOrder},

      // Coordinates of graphics, texts and compound graphics (C.10.5).
      {"text-place-not-finite", "text-place-removed", "C.10.5", kError,
       "Coordinates of a text are finite; a box or an anchor that is not goes where the text has the other.",
       examineTextPlacesFinite},
      {"coordinate-not-finite", "graphic-dropped", "C.10.5", kError,
       "Coordinates are finite; an object that cannot be drawn is dropped.", examineCoordinatesFinite},
      {"display-coordinate-outside", nullptr, "C.10.5", kError, "Coordinates in DISPLAY units are from 0 to 1.",
       examineDisplayCoordinates},
      {"matrix-units-unfit", nullptr, "C.10.5", kError, "MATRIX units stand with tiled images alone.",
       examineMatrixUnits},
      {"coordinate-outside-image", nullptr, "C.10.5", kNote, "Coordinates in PIXEL units lie in the image.",
       examineCoordinatesInImage},

      // Graphic objects (C.10.5).
      {"graphic-attribute-invalid", nullptr, "C.10.5", kError,
       "The units, the type and the identifiers of a graphic are there, and valid.", examineGraphicAttributes},
      {"graphic-dimensions-invalid", "graphic-dimensions-added", "C.10.5", kError,
       "A graphic has two dimensions; where it does not say so, it is added.", examineGraphicDimensions},
      {"graphic-data-vr", "graphic-data-retyped", "PS3.6 6", kError, "Graphic Data has the VR FL.",
       examineGraphicDataVr},
      {"outline-too-long", "outline-split", "PS3.5 7.1.2", kError,
       "An outline has at most 8,191 points; a longer one becomes several, each from the last point of the one before.",
       examineLongOutlines},
      {"graphic-data-unfit", nullptr, "C.10.5.1.2", kError,
       "Graphic Data has pairs of coordinates, as many as the type has points.", examineGraphicData},
      {"point-count-differs", "point-count-corrected", "C.10.5", kError,
       "Number of Graphic Points is the number of points in Graphic Data.", examinePointCounts},
      {"outline-of-one-point", "outline-made-point", "C.10.5.1.2", kError,
       "An outline has two points or more; one of a single point becomes a point.", examineSinglePointOutlines},
      {"closed-graphic-unfilled", "graphic-filled-added", "C.10.5", kError, "A closed shape says whether it is filled.",
       examineClosedGraphics},
      {"open-graphic-filled", "graphic-filled-removed", "C.10.5", kError,
       "A shape that is not closed does not say whether it is filled.", examineOpenGraphics},
      {"ellipse-axes-exchanged", "ellipse-axes-ordered", "C.10.5.1.2", kError,
       "The longer axis of an ellipse is the first.", examineEllipseAxes},
      {"ellipse-axes-askew", nullptr, "C.10.5.1.2", kNote,
       "The axes of an ellipse are perpendicular, but for a degree or a pixel.", examineEllipseAngles},

      // Styles (C.10.5).
      {"line-style-incomplete", "line-style-completed", "C.10.5.1.3.13", kError,
       "A line style has a thickness and a shadow; where they are missing, one pixel and no shadow.",
       examineIncompleteLineStyles},
      {"style-invalid", nullptr, "C.10.5", kError,
       "The styles of lines, areas and texts have their attributes, with valid values.", examineStyles},

      // Compound graphics and groups (C.10.5.1.3, C.10.14).
      {"compound-attribute-invalid", nullptr, "C.10.5.1.3", kError,
       "A compound graphic has the attributes of its type, with valid values.", examineCompoundAttributes},
      {"compound-data-unfit", nullptr, "C.10.5.1.3", kError,
       "The Graphic Data of a compound graphic has pairs of coordinates, as many as its type has points.",
       examineCompoundData},
      {"compound-type-private", nullptr, "C.10.5.1.3", kNote, "The type of a compound graphic is a defined term.",
       examineCompoundTypes},
      {"compound-id-repeated", nullptr, "C.10.5.1.3.1", kError,
       "A compound graphic has an identifier, which no other of its annotation item has.", examineCompoundIds},
      {"compound-not-rendered", nullptr, "C.10.5.1.3.1", kError,
       "A graphic or text with its identifier stands for a compound graphic.", examineCompoundRenderings},
      {"graphic-group-invalid", nullptr, "C.10.14", kError,
       "A graphic group has a label, and an identifier that no other has.", examineGraphicGroups},
      {"graphic-group-unknown", nullptr, "C.10.5", kError, "The group that an object belongs to is there.",
       examineGraphicGroupIds},

      // Annotation items and layers (C.10.5, C.10.7). What lost its last object goes.
      {"annotation-sequence-empty", "empty-sequence-removed", "C.10.5, C.10.7", kError,
       "A sequence of annotations, objects, layers or groups has an item.", examineEmptySequences},
      {"annotation-empty", "annotation-dropped", "C.10.5", kError,
       "An annotation item has texts or graphics; an empty one goes, and its layer where nothing else is drawn there.",
       examineEmptyAnnotations},
      {"annotation-layer-missing", nullptr, "C.10.5", kError, "An annotation item names its layer.",
       examineAnnotationLayers},
      {"layer-name-invalid", nullptr, "C.10.7", kError, "The name of a layer is a code string that no other layer has.",
       examineLayerNames},
      {"layer-order-invalid", "layer-order-added", "C.10.7", kError,
       "A layer has an order, a whole number; one without it comes after the others.", examineLayerOrders},
      {"layer-undeclared", "layer-declared", "C.10.7", kError,
       "A layer that annotations, overlays or curves are drawn in is declared; one that is not comes after the others.",
       examineDeclaredLayers},
      {"layer-color-invalid", nullptr, "C.10.7", kError,
       "The gray value that a layer recommends is one number, the color three.", examineLayerColors},

  };
  return kRules;
}

} // namespace tarn::conformance
