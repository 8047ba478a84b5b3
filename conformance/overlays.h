#pragma once

#include "conformance/items.h"

#include <vector>

namespace tarn::conformance
{

/// The groups 6000 to 601E (PS3.3 C.9.2) that the data set has elements of.
std::vector<Uint16> overlayGroups(const Placed& root);
/// The tag of group 6000 in another group.
inline DcmTagKey overlayTag(const DcmTagKey& tag, Uint16 group)
{
  return {group, tag.getElement()};
}
/// Whether the group holds a plane; it may also say just the layer that an overlay of the image is drawn in.
bool hasPlane(const Placed& root, Uint16 group);

} // namespace tarn::conformance
