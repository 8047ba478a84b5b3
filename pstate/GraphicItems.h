#pragma once

#include "pstate/DicomCieLab.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace impsconverter
{

class ElementWriter;

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

/// Values of Graphic Type (0070,0023), of graphic objects and of compound graphics (PS3.3 C.10.5.1.2, C.10.5.1.3).
enum class GraphicType
{
  polyline,
  ellipse, ///< a graphic object: the ends of one axis, then of the other; a compound graphic: two corners of its box
  ruler,
  rangeLine,
  multiLine, ///< points in pairs, a line each
  arrow
};

/// Where the box of a text stands relative to its anchor, and how its lines are justified in it.
enum class Placement
{
  leftBelow, ///< the anchor is the top left corner
  centered
};

/// The size of a text's bounding box in image pixels: cells of 8 x 20 a byte, lines separated by line feeds; one feed
/// at the end adds none. At least one cell.
struct TextBox
{
  explicit TextBox(const std::string& text);

  float width;
  float height;
};

/// Writes graphic objects, text objects and compound graphics into one item of the Graphic Annotation Sequence (PS3.3
/// C.10.5), each as a new item at the end of its sequence. A failure is one line on the console and a false result;
/// what was written before it stays. Prints each finished item when debugging.
class GraphicItems
{
public:
  /// The Compound Graphic Instance ID (0070,0226) of an item; without a value the item gets none.
  using InstanceId = std::optional<Uint32>;

  /// `annotation` is borrowed.
  GraphicItems(DcmItem& annotation, bool debug) : annotation(&annotation), debug(debug) {}

  [[nodiscard]] bool addGraphic(GraphicType type, const std::vector<Point>& points, InstanceId id);
  /// A line that the reader dashes in `color`, by a Line Style Sequence. Elements of the style that cannot be put are
  /// left out; only the pattern has to be there, and its failure has no line.
  [[nodiscard]] bool addDashedLine(Point from, Point to, const DicomCieLab& color, InstanceId id);
  /// A text that is tied to `anchor`, which itself is not shown.
  [[nodiscard]] bool addText(Point anchor, const std::string& text, Placement placement, InstanceId id);
  /// `writeMore` writes what the type has beyond the elements that all compound graphics have.
  [[nodiscard]] bool addCompound(GraphicType type, const std::vector<Point>& points, Uint32 id,
                                 const std::function<void(ElementWriter&)>& writeMore = {});

private:
  DcmItem* append(const DcmTagKey& sequence, const char* message);
  bool finish(ElementWriter& writer, DcmItem& item, InstanceId id) const;

  DcmItem* annotation;
  bool debug;
};

} // namespace impsconverter
