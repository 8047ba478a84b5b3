// Lengths, areas and angles of annotations, on pixels that need not be square.
#include "annotations/measure.h"

#include <algorithm>
#include <cmath>

namespace impsconverter
{
namespace
{

constexpr double kPi = 3.141592653589793;

struct Vector
{
  double x;
  double y;
};

Vector between(Point from, Point to, const PixelSize& pixel)
{
  return {(static_cast<double>(to.column) - from.column) * pixel.column,
          (static_cast<double>(to.row) - from.row) * pixel.row};
}

double dot(Vector a, Vector b)
{
  return a.x * b.x + a.y * b.y;
}

double cross(Vector a, Vector b)
{
  return a.x * b.y - a.y * b.x;
}

double lengthOf(Vector a)
{
  return std::hypot(a.x, a.y);
}

/// The angle of two sides of a triangle, degrees; none where one of them has no length.
double angleOf(Vector a, Vector b, double cosine)
{
  const bool isAngle = lengthOf(a) > 0 && lengthOf(b) > 0;
  return isAngle ? std::atan2(std::abs(cross(a, b)), cosine) * 180 / kPi : Measures::kNone;
}

/// Turned by other than right angles, the diameters that are drawn are conjugate ones of an ellipse that pixels which
/// are not square distort: its axes are the singular values of both.
void measureEllipse(Vector first, Vector second, Measures& result)
{
  const double parallelogram = std::abs(cross(first, second));
  const double squares = dot(first, first) + dot(second, second);
  const double sum = std::sqrt(squares + 2 * parallelogram);                       // of both axes
  const double difference = std::sqrt(std::max(0.0, squares - 2 * parallelogram)); // of both axes
  result.area = kPi / 4 * parallelogram;
  result.majorAxis = (sum + difference) / 2;
  result.minorAxis = result.majorAxis == 0 ? 0.0 : parallelogram / result.majorAxis;
}

/// Seen from the first vertex, so that the place of the outline costs no digits.
void measureOutline(const std::vector<Point>& points, const PixelSize& pixel, Measures& result)
{
  double twice = 0.0;
  result.length = 0.0;
  for (std::size_t i = 0; i < points.size(); ++i)
  {
    const Point next = points[(i + 1) % points.size()];
    twice += cross(between(points.front(), points[i], pixel), between(points.front(), next, pixel));
    result.length += lengthOf(between(points[i], next, pixel));
  }
  result.area = std::abs(twice) / 2;
}

} // namespace

Measures measure(const Shape& shape, const PixelSize& pixel)
{
  const auto side = [&](std::size_t from, std::size_t to)
  { return between(shape.points.at(from), shape.points.at(to), pixel); };
  Measures result;
  switch (shape.form)
  {
  case Form::marks:
    break;
  case Form::segment:
    result.length = lengthOf(side(0, 1));
    break;
  case Form::rays:
    result.angle = angleOf(side(1, 0), side(1, 2), dot(side(1, 0), side(1, 2)));
    break;
  case Form::lines:
    result.angle = angleOf(side(0, 1), side(2, 3), std::abs(dot(side(0, 1), side(2, 3))));
    break;
  case Form::ellipse:
    measureEllipse(side(0, 1), side(2, 3), result);
    break;
  case Form::outline:
    measureOutline(shape.points, pixel, result);
    break;
  }
  return result;
}

} // namespace impsconverter
