#pragma once

#include "annotations/Parameters.h"
#include "pstate/DicomCieLab.h"

#include <functional>
#include <string>
#include <vector>

namespace impsconverter
{

class ElementWriter;
class ValidPresentationState;

/// Values of Graphic Type (0070,0023), of graphic objects and of compound graphics (PS3.3 C.10.5.1.2, C.10.5.1.3).
enum class GraphicType
{
  polyline,
  ellipse,
  ruler,
  rangeLine,
  multiLine,
  arrow
};

/// A position in image pixels, as the annotation units PIXEL have them (PS3.3 C.10.5).
struct Point
{
  Float32 column;
  Float32 row;
};

constexpr Point pointAt(int column, int row)
{
  return {static_cast<Float32>(column), static_cast<Float32>(row)};
}

/// What the points of an annotation stand for.
enum class Form
{
  marks,   ///< places, between which nothing is measured
  segment, ///< two ends
  rays,    ///< an end, the vertex, the other end
  lines,   ///< both ends of one line, then of another
  ellipse, ///< both ends of one diameter, then of the conjugate one
  outline  ///< a closed polygon; the last point does not repeat the first
};

/// An annotation as a figure that can be measured.
struct Shape
{
  Form form = Form::marks;
  std::vector<Point> points;
  std::string label; ///< the viewer's text, in the bytes of its line
};

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
  /// Parses the line alone, also where there is no presentation state.
  [[nodiscard]] bool parse(const std::string& line);

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

  /// What the line that was parsed draws, without helper lines and barbs.
  virtual Shape shape() const { return {Form::marks, {base()}, {}}; }

protected:
  /// The scanner of what follows the first '|' of a line; `type` is named in its message.
  Parameters specific(const std::string& type, const std::string& params) const;

  // Each of these appends a graphic object, a text object or a compound graphic, prints it when debugging, and is false
  // after the message of the first element that was not taken. With `compound` the first two carry the ID.

  /// A POLYLINE through `count` points, column and row of each in turn.
  bool addPolyline(float* points, int count);
  bool addPolyline(const std::vector<Point>& points);
  /// A line that a viewer dashes, by a Line Style Sequence (PS3.3 C.10.5.1.3.13). Elements of the style that cannot be
  /// put are left out; only the pattern is required, and its failure has no message.
  bool addDashedLine(float x1, float y1, float x2, float y2, const DicomCieLab& lineColor);
  /// A text object tied to (x, y), which itself is not shown: its box is centred there, or has its top left corner
  /// there.
  bool addText(int x, int y, const std::string& text, bool centered);
  /// A graphic object of any type, which carries the ID where `isIdentified` says so.
  bool addGraphic(GraphicType type, const std::vector<Point>& points, bool isIdentified);
  /// `writeMore` writes what the type has beyond the elements that all compound graphics have.
  bool addCompound(GraphicType type, const std::vector<Point>& points,
                   const std::function<void(ElementWriter&)>& writeMore = {});

  /// A dashed line in the light grey of helper lines; a failure has been reported and changes nothing.
  void addHelperLine(Point from, Point to);
  /// In the mode "ex" a helper line from `start` to the mirror image of `end` behind it.
  void addExtension(const std::string& mode, int startX, int startY, int endX, int endY);
  /// The label at the value anchor, centred; nothing when values are not shown.
  bool addValueLabel(const std::string& label);

  /// The size of a text's bounding box in image pixels: cells of 8 x 20 a byte, lines separated by line feeds; one feed
  /// at the end adds none. At least one cell.
  static void calcTextBox(const std::string& text, float& width, float& height);
  /// The length of a vector of image pixels. The sum of the squares is exact for all 32-bit values.
  static double vectorLength(int dx, int dy);

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
  template <class Write>
  bool addItem(const DcmTagKey& sequence, const char* message, bool isIdentified, Write write);
  void writeId(ElementWriter& writer) const;
};

} // namespace impsconverter
