#pragma once

#include "annotations/Parameters.h"
#include "pstate/DicomCieLab.h"
#include "pstate/GraphicItems.h"

#include <functional>
#include <string>
#include <vector>

namespace impsconverter
{

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
  /// parameters; text after those that are needed is ignored.
  virtual bool parseSpecific(const std::string& type, const std::string& params) = 0;
  /// Writes the annotation as a compound graphic (PS3.3 C.10.5.1.3). No conversion calls it.
  virtual bool createCompound() = 0;
  /// Writes the lines and shapes as graphic objects.
  virtual bool createSimple() = 0;
  /// Writes the label as a text object.
  virtual bool createText() = 0;

  virtual ~Annotation() = default;

protected:
  /// The scanner of what follows the first '|' of a line; `type` is named in its message.
  Parameters specific(const std::string& type, const std::string& params) const;

  /// A POLYLINE through `count` points, column and row of each in turn.
  bool addPolyline(float* points, int count);
  bool addPolyline(const std::vector<Point>& points);
  bool addDashedLine(float x1, float y1, float x2, float y2, const DicomCieLab& lineColor);
  /// A dashed line in the light grey of helper lines; a failure has been reported and changes nothing.
  void addHelperLine(Point from, Point to);
  /// A text object anchored at (x, y): its box is centred there, or has its top left corner there.
  bool addText(int x, int y, const std::string& text, bool centered);
  bool addText(Point anchor, const std::string& text, Placement placement);
  /// The label at the value anchor, centred; nothing when values are not shown.
  bool addValueLabel(const std::string& label);
  /// The size of a TextBox.
  static void calcTextBox(const std::string& text, float& width, float& height);

  /// A graphic object that carries its Compound Graphic Instance ID in every case.
  bool addIdentifiedGraphic(GraphicType type, const std::vector<Point>& points);
  /// A compound graphic with its ID; `writeMore` writes what the type has beyond the common elements.
  bool addCompound(GraphicType type, const std::vector<Point>& points,
                   const std::function<void(ElementWriter&)>& writeMore = {});

  Point base() const { return pointAt(baseX, baseY); }

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
  /// Where the annotation is written; only with a presentation state that has its image references.
  GraphicItems items() const;
  Uint32 ownId() const { return static_cast<Uint32>(index); }
  GraphicItems::InstanceId idIfCompound() const;
};

} // namespace impsconverter
