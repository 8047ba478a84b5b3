#pragma once

#include "base/wrapping.h"

namespace impsconverter
{

/// The mode of an angle whose second line is drawn on beyond its start.
constexpr char kExtensionMode[] = "ex";

/// `end` mirrored through `start`, one coordinate, in image pixels.
constexpr float mirrored(int start, int end)
{
  return static_cast<float>(tarn::base::wrapSub(tarn::base::wrapMul(2, start), end));
}

} // namespace impsconverter
