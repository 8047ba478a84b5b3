#pragma once

#include "pstate/DicomCieLab.h"
#include "annotations/Parameters.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <string>
#include <vector>

namespace impsconverter
{

class ElementWriter;
class ValidPresentationState;

/// One annotation of the viewer: a line of the plug-in state, written into a presentation state as graphic and text
/// objects (PS3.3 C.10.5). All coordinates are image pixels, column and row.
///
/// A line is `TYPE common parameters|specific parameters` (docs/formats.md). Every failure is one line on the console
/// and a false result; what was written before it stays.
class Annotation
{
public:
  /// `ps` is borrowed and outlives this object; with null every line is refused.
  explicit Annotation(ValidPresentationState* ps);
  Annotation(const Annotation&) = delete;
  Annotation& operator=(const Annotation&) = delete;

  /// Parses the line and writes the annotation in its simple form, with its text.
  [[nodiscard]] bool process(const std::string& line);

  /// Reads what follows the first '|' of a line; `type` is the line's first word, for the message. False for too few
  /// parameters; text behind those that are needed is ignored.
  virtual bool parseSpecific(const std::string& type, const std::string& params) = 0;
  /// Writes the annotation as a compound graphic (PS3.3 C.10.5, Compound Graphic Sequence). No conversion calls it.
  virtual bool createCompound() = 0;
  /// Writes the lines and shapes as graphic objects.
  virtual bool createSimple() = 0;
  /// Writes the label as a text object.
  virtual bool createText() = 0;

  virtual ~Annotation() = default;

protected:
  /// The scanner of what follows the first '|' of a line; `type` is named in its message.
  Parameters specific(const std::string& type, const std::string& params) const;

  /// A POLYLINE through `count` points, x and y of each in turn.
  bool addPolyline(float* points, int count);
  bool addPolyline(const std::vector<Float32>& points);
  /// A graphic object of any type; `points` holds x and y of each point in turn.
  bool addGraphic(const std::vector<Float32>& points, const char* type, bool withInstanceId);
  /// A line that the reader dashes in `color`, by a Line Style Sequence (PS3.3 C.10.5.1.3.13). Elements of the style
  /// that cannot be put are left out; only the pattern has to be there, and its failure has no line.
  bool addDashedLine(float x1, float y1, float x2, float y2, const DicomCieLab& color);
  /// The same in the light grey of helper lines; a failure has been reported and changes nothing.
  void addHelperLine(float x1, float y1, float x2, float y2);
  /// A text object anchored at (x, y): its box is centred there, or has its top left corner there.
  bool addText(int x, int y, const std::string& text, bool centered);
  /// The label at the value anchor, centred; nothing when values are not shown.
  bool addValueLabel(const std::string& label);
  /// The box of a text, in image pixels: cells of 8 x 20 a byte, lines separated by line feeds; one feed at the end
  /// adds none. At least one cell.
  static void calcTextBox(const std::string& text, float& width, float& height);

  /// A compound graphic with its common elements; null after a failure, which has been reported.
  DcmItem* addCompound(const std::vector<Float32>& points, const char* type);
  /// Prints a finished item when debugging.
  void traceItem(DcmItem& item) const;
  /// The end of a run of elements on `item`: whether all are written, and then the item printed when debugging.
  bool complete(const ElementWriter& writer, DcmItem& item) const;

  // The common parameters, in their order. Those that the line leaves out are 0.
  int index = 0;          ///< Compound Graphic Instance ID of what carries one
  std::string color;      ///< as the viewer wrote it, at most 16 bytes
  bool showIndex = false; ///< not used by any kind
  bool showValue = false; ///< the label is written
  int baseX = 0;          ///< the kind's reference point
  int baseY = 0;
  int indexAnchorX = 0; ///< not used by any kind
  int indexAnchorY = 0;
  int valueAnchorX = 0; ///< middle of the label's box
  int valueAnchorY = 0;
  int orientation = 0;   ///< the viewer's code, not used by any kind
  bool compound = false; ///< graphic and text objects carry Compound Graphic Instance ID
  bool debug;
  ValidPresentationState* ps;

private:
  bool parseCommon(const std::string& type, const std::string& common);
  bool addInstanceId(ElementWriter& writer) const;
  bool finish(ElementWriter& writer, DcmItem& item) const;
};

} // namespace impsconverter
