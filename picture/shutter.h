#pragma once

#include "conformance/items.h"
#include "picture/Affine.h"

#include <string>

namespace tarn::picture
{

/// What stands before and after the pixels in the picture, so that a shutter covers what is outside of it; empty
/// without one. Annotations are not covered (PS3.3 C.7.6.11).
struct Shutter
{
  std::string start, end;
};

/// The shutters of the state of any shape but BITMAP: with several, what each leaves open is seen.
Shutter shutterOf(const conformance::Placed& state, const Affine& fromImage);

} // namespace tarn::picture
