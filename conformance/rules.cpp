// The table of all rules. A rule is added by a row here and its function in the file of its module.
#include "conformance/Rule.h"

#include "conformance/characterSetRules.h"
#include "conformance/compoundRules.h"
#include "conformance/graphicRules.h"
#include "conformance/layerRules.h"
#include "conformance/referenceRules.h"
#include "conformance/styleRules.h"
#include "conformance/textObjectRules.h"

namespace tarn::conformance
{

const std::vector<Rule>& rules()
{
  static const std::vector<Rule> kRules{
      // Texts of the whole data set. They are decoded before anything rewrites them.
      {"character-set-unknown", "texts-made-utf8", "C.12.1.1.2", Level::error,
       "The terms of Specific Character Set are defined ones that may stand together; one that is not is replaced "
       "where "
       "all texts are ASCII or UTF-8.",
       examineCharacterSets},
      {"text-outside-character-set", "texts-made-utf8", "C.12.1.1.2", Level::error,
       "Every text is one of the declared character set; where one is not, all become ISO_IR 192.",
       examineTextCharacters},
      {"text-looks-like-utf8", nullptr, "C.12.1.1.2", Level::note,
       "A text of a character set of single bytes is not UTF-8 at the same time: readers show two characters for one.",
       examineTextsLikeUtf8},
      {"control-character", "control-characters-removed", "C.10.5, PS3.5 6.1.3", Level::error,
       "Texts have no control characters but those that their VR allows, text objects line breaks alone; a tab becomes "
       "a "
       "blank.",
       examineControlCharacters},
      {"text-too-long", nullptr, "PS3.5 6.2", Level::error,
       "A text of the presentation state itself has no more characters than its VR allows.", examineTextLengths},
      {"other-text-too-long", nullptr, "PS3.5 6.2", Level::note,
       "A text of the patient, the study or the equipment has no more characters than its VR allows.",
       examineOtherTextLengths},

      // Text objects (C.10.5).
      {"text-empty", "text-dropped", "C.10.5", Level::error, "A text object has a text.", examineEmptyTexts},
      {"text-object-too-long", "text-split", "PS3.5 6.2", Level::error,
       "A text object has at most 1,024 characters; a longer text becomes several, below each other.",
       examineLongTexts},
      {"text-place-missing", nullptr, "C.10.5", Level::error, "A text object has a bounding box or an anchor point.",
       examineTextPlaces},
      {"text-attribute-invalid", nullptr, "C.10.5", Level::error,
       "The corners, units and justification of a box, and the point, units and visibility of an anchor, stand "
       "together "
       "and are valid.",
       examineTextAttributes},
      {"text-box-turned", nullptr, "C.10.5.1.1", Level::note,
       "The top left corner of a bounding box is above and left of the other where the image is not turned.",
       examineTextBoxOrder},

      // Coordinates of graphics, texts and compound graphics (C.10.5).
      {"text-place-not-finite", "text-place-removed", "C.10.5", Level::error,
       "Coordinates of a text are finite; a box or an anchor that is not goes where the text has the other.",
       examineTextPlacesFinite},
      {"coordinate-not-finite", "graphic-dropped", "C.10.5", Level::error,
       "Coordinates are finite; an object that cannot be drawn is dropped.", examineCoordinatesFinite},
      {"display-coordinate-outside", nullptr, "C.10.5", Level::error, "Coordinates in DISPLAY units are from 0 to 1.",
       examineDisplayCoordinates},
      {"matrix-units-unfit", nullptr, "C.10.5", Level::error, "MATRIX units stand with tiled images alone.",
       examineMatrixUnits},
      {"coordinate-outside-image", nullptr, "C.10.5", Level::note, "Coordinates in PIXEL units lie in the image.",
       examineCoordinatesInImage},

      // Graphic objects (C.10.5).
      {"graphic-attribute-invalid", nullptr, "C.10.5", Level::error,
       "The units, the type and the identifiers of a graphic are there, and valid.", examineGraphicAttributes},
      {"graphic-dimensions-invalid", "graphic-dimensions-added", "C.10.5", Level::error,
       "A graphic has two dimensions; where it does not say so, it is added.", examineGraphicDimensions},
      {"graphic-data-vr", "graphic-data-retyped", "PS3.6 6", Level::error, "Graphic Data has the VR FL.",
       examineGraphicDataVr},
      {"outline-too-long", "outline-split", "PS3.5 7.1.2", Level::error,
       "An outline has at most 8,191 points; a longer one becomes several, each from the last point of the one before.",
       examineLongOutlines},
      {"graphic-data-unfit", nullptr, "C.10.5.1.2", Level::error,
       "Graphic Data has pairs of coordinates, as many as the type has points.", examineGraphicData},
      {"point-count-differs", "point-count-corrected", "C.10.5", Level::error,
       "Number of Graphic Points is the number of points in Graphic Data.", examinePointCounts},
      {"outline-of-one-point", "outline-made-point", "C.10.5.1.2", Level::error,
       "An outline has two points or more; one of a single point becomes a point.", examineSinglePointOutlines},
      {"closed-graphic-unfilled", "graphic-filled-added", "C.10.5", Level::error,
       "A closed shape says whether it is filled.", examineClosedGraphics},
      {"open-graphic-filled", "graphic-filled-removed", "C.10.5", Level::error,
       "A shape that is not closed does not say whether it is filled.", examineOpenGraphics},
      {"ellipse-axes-exchanged", "ellipse-axes-ordered", "C.10.5.1.2", Level::error,
       "The longer axis of an ellipse is the first.", examineEllipseAxes},
      {"ellipse-axes-askew", nullptr, "C.10.5.1.2", Level::note,
       "The axes of an ellipse are perpendicular, but for a degree or a pixel.", examineEllipseAngles},

      // Styles (C.10.5).
      {"line-style-incomplete", "line-style-completed", "C.10.5.1.3.13", Level::error,
       "A line style has a thickness and a shadow; where they are missing, one pixel and no shadow.",
       examineIncompleteLineStyles},
      {"style-invalid", nullptr, "C.10.5", Level::error,
       "The styles of lines, areas and texts have their attributes, with valid values.", examineStyles},

      // Compound graphics and groups (C.10.5.1.3, C.10.14).
      {"compound-attribute-invalid", nullptr, "C.10.5.1.3", Level::error,
       "A compound graphic has the attributes of its type, with valid values.", examineCompoundAttributes},
      {"compound-data-unfit", nullptr, "C.10.5.1.3", Level::error,
       "The Graphic Data of a compound graphic has pairs of coordinates, as many as its type has points.",
       examineCompoundData},
      {"compound-type-private", nullptr, "C.10.5.1.3", Level::note, "The type of a compound graphic is a defined term.",
       examineCompoundTypes},
      {"compound-id-repeated", nullptr, "C.10.5.1.3.1", Level::error,
       "A compound graphic has an identifier, which no other of its annotation item has.", examineCompoundIds},
      {"compound-not-rendered", nullptr, "C.10.5.1.3.1", Level::error,
       "A graphic or text with its identifier stands for a compound graphic.", examineCompoundRenderings},
      {"graphic-group-invalid", nullptr, "C.10.14", Level::error,
       "A graphic group has a label, and an identifier that no other has.", examineGraphicGroups},
      {"graphic-group-unknown", nullptr, "C.10.5", Level::error, "The group that an object belongs to is there.",
       examineGraphicGroupIds},

      // Annotation items and layers (C.10.5, C.10.7). What lost its last object goes.
      {"annotation-sequence-empty", "empty-sequence-removed", "C.10.5, C.10.7", Level::error,
       "A sequence of annotations, objects, layers or groups has an item.", examineEmptySequences},
      {"annotation-empty", "annotation-dropped", "C.10.5", Level::error,
       "An annotation item has texts or graphics; an empty one goes, and its layer where nothing else is drawn there.",
       examineEmptyAnnotations},
      {"annotation-layer-missing", nullptr, "C.10.5", Level::error, "An annotation item names its layer.",
       examineAnnotationLayers},
      {"layer-name-invalid", nullptr, "C.10.7", Level::error,
       "The name of a layer is a code string that no other layer has.", examineLayerNames},
      {"layer-order-invalid", "layer-order-added", "C.10.7", Level::error,
       "A layer has an order, a whole number; one without it comes after the others.", examineLayerOrders},
      {"layer-undeclared", "layer-declared", "C.10.7", Level::error,
       "A layer that annotations, overlays or curves are drawn in is declared; one that is not comes after the others.",
       examineDeclaredLayers},
      {"layer-color-invalid", nullptr, "C.10.7", Level::error,
       "The gray value that a layer recommends is one number, the color three.", examineLayerColors},

      // What the state refers to (C.11.11).
      {"reference-missing", nullptr, "C.11.11", Level::error,
       "A presentation state refers to at least one series, and each series to at least one image.", examineReferences},
      {"reference-uid-invalid", nullptr, "C.11.11, 10.3", Level::error,
       "The UIDs of series, class and instance of an image are there, and are UIDs.", examineReferenceUids},
      {"frame-number-unfit", "frame-number-removed", "10.3", Level::error,
       "Frame numbers stand with multi-frame classes alone, and number frames that the image has.",
       examineFrameNumbers},
  };
  return kRules;
}

} // namespace tarn::conformance
