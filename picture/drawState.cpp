// A presentation state over its image.
#include "picture/drawState.h"

#include "base/text.h"
#include "picture/ImageFile.h"
#include "picture/StateView.h"
#include "picture/Svg.h"
#include "picture/graphics.h"
#include "picture/pixels.h"
#include "picture/placement.h"
#include "picture/shutter.h"
#include "picture/texts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <new>

namespace tarn::picture
{
namespace
{

using conformance::Placed;

/// The picture is far from a diagnostic display: eight bits, compressed with loss, on an uncalibrated screen.
constexpr char kPurpose[] = "For checking, not for diagnosis.";

/// Whole picture pixels; a part of an image may be very flat.
unsigned sideOf(double length)
{
  constexpr double kLeast = 16;
  return static_cast<unsigned>(std::round(std::max(length, kLeast)));
}

class Drawing
{
public:
  Drawing(StateView& state, ImageFile& image, const Target& target, const Order& order)
    : state(state), image(image), target(target), order(order),
      view(state.viewOf(target, image.columns(), image.rows(), notes)), placement(place(view, order.size))
  {
    svg.width = sideOf(placement.width);
    svg.height = sideOf(placement.height);
    svg.textHeight = std::clamp(std::max(placement.width, placement.height) / 40.0, 9.0, 14.0);
  }

  std::string draw();

private:
  Units units() const;
  void drawPixels();
  void drawAnnotation(const Placed& annotation, const Units& units, const std::string& terms);

  StateView& state;
  ImageFile& image;
  const Target& target;
  const Order& order;
  Notes notes;
  const View view;
  const Placement placement;
  Svg svg;
  std::size_t undrawn = 0;
};

std::string matrixText(const Affine& matrix)
{
  std::string text;
  for (const double value : {matrix.a, matrix.b, matrix.c, matrix.d, matrix.e, matrix.f})
  {
    std::array<char, 32> digits; // NOLINT(*-member-init): filled by to_chars
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    text += (text.empty() ? "" : " ") + std::string(digits.data(), end);
  }
  return text;
}

Units Drawing::units() const
{
  const Point origin = image.tileOrigin(target.frame);
  return {placement.fromImage, Affine::scaled(placement.width, placement.height),
          Affine::moved(-origin.x, -origin.y).then(placement.fromImage)};
}

void Drawing::drawPixels()
{
  const Affine& matrix = placement.fromImage;
  const Pixels pixels = renderPixels(image, state, target, view.area, std::hypot(matrix.a, matrix.b),
                                     std::hypot(matrix.c, matrix.d), notes);
  const Shutter shutter = shutterOf(state.root(), matrix);
  svg.pixels = shutter.start + base::joined("<image transform=\"matrix(", matrixText(matrix), ")\" x=\"",
                                            pixels.part.left, "\" y=\"", pixels.part.top, "\" width=\"",
                                            pixels.part.width(), "\" height=\"", pixels.part.height(),
                                            "\" preserveAspectRatio=\"none\" xlink:href=\"data:image/jpeg;base64,");
  svg.pixels += base64(pixels.jpeg);
  svg.pixels += "\"/>\n" + shutter.end;
}

void Drawing::drawAnnotation(const Placed& annotation, const Units& units, const std::string& terms)
{
  for (const Placed& graphic : conformance::itemsOf(annotation, DCM_GraphicObjectSequence))
  {
    const std::string shape = shapeOf(graphic, units);
    undrawn += shape.empty() ? 1 : 0;
    svg.shapes += shape;
  }
  if (!order.labels)
    return;
  for (const Placed& object : conformance::itemsOf(annotation, DCM_TextObjectSequence))
  {
    const TextShapes shapes = textOf(object, units, svg.textHeight, terms);
    undrawn += shapes.text.empty() ? 1 : 0;
    svg.texts += shapes.text;
    svg.shapes += shapes.line;
  }
}

std::string Drawing::draw()
{
  drawPixels();
  const std::string terms = conformance::textOf(state.root(), DCM_SpecificCharacterSet);
  const Units all = units();
  for (const Placed& annotation : state.annotationsOf(target))
    drawAnnotation(annotation, all, terms);
  if (undrawn > 0)
    notes.push_back(base::joined(undrawn, " annotations that cannot be drawn."));
  svg.captions = {kPurpose};
  svg.captions.insert(svg.captions.end(), notes.begin(), notes.end());
  return svg.document();
}

/// The image and what of it is shown. An image that is named has to be one that the state refers to.
std::string drawOver(StateView& state, const std::string& path, const std::string& uid, const Order& order)
{
  ImageFile image(path);
  const Target target = state.target(order.reference, uid.empty() ? image.sopInstanceUid() : uid);
  if (target.frame > image.frames())
    throw Refusal("frame-missing",
                  base::joined("the image has ", image.frames(), " frames, and the state is for ", target.frame));
  return Drawing(state, image, target, order).draw();
}

std::string draw(const std::string& stateFile, images::ImageFiles& images, const Order& order)
{
  StateView state(stateFile);
  if (!order.image.empty())
    return drawOver(state, order.image, "", order);
  const Target target = state.target(order.reference, "");
  const auto& header = images.find(state.studyUid(), "", target.uid);
  if (!header)
    throw Refusal("image-not-found", "the image " + target.uid + " is not found");
  return drawOver(state, header->path, target.uid, order);
}

} // namespace

std::string drawState(const std::string& stateFile, images::ImageFiles& images, const Order& order)
{
  try
  {
    return draw(stateFile, images, order);
  }
  catch (const std::bad_alloc&)
  {
    throw Refusal("image-too-large", "there is no memory for the picture");
  }
}

} // namespace tarn::picture
