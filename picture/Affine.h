#pragma once

namespace tarn::picture
{

struct Point
{
  double x = 0;
  double y = 0;
};

/// x' = a x + c y + e and y' = b x + d y + f, in the order of SVG's matrix().
struct Affine
{
  double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;

  Point operator()(Point point) const { return {a * point.x + c * point.y + e, b * point.x + d * point.y + f}; }

  /// What `next` does after this.
  Affine then(const Affine& next) const
  {
    const Point origin = next({e, f});
    return {next.a * a + next.c * b,
            next.b * a + next.d * b,
            next.a * c + next.c * d,
            next.b * c + next.d * d,
            origin.x,
            origin.y};
  }

  static Affine scaled(double x, double y) { return {x, 0, 0, y, 0, 0}; }
  static Affine moved(double x, double y) { return {1, 0, 0, 1, x, y}; }
};

} // namespace tarn::picture
