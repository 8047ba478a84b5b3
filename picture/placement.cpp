// From image pixels to picture pixels.
#include "picture/placement.h"

#include <algorithm>
#include <utility>

namespace tarn::picture
{
namespace
{

constexpr unsigned kLeastSide = 16; ///< picture pixels
constexpr unsigned kMostSide = 4096;

} // namespace

Placement place(const View& view, unsigned size)
{
  double width = view.area.width() * view.pixelWidth;
  double height = view.area.height() * view.pixelHeight;
  Affine matrix =
      Affine::moved(-view.area.left, -view.area.top).then(Affine::scaled(view.pixelWidth, view.pixelHeight));
  for (int turn = 0; turn < view.quarterTurns; ++turn)
  {
    matrix = matrix.then({0, 1, -1, 0, height, 0});
    std::swap(width, height);
  }
  if (view.flip)
    matrix = matrix.then({-1, 0, 0, 1, width, 0});
  const double scale = std::clamp(size, kLeastSide, kMostSide) / std::max(width, height);
  return {matrix.then(Affine::scaled(scale, scale)), width * scale, height * scale};
}

} // namespace tarn::picture
