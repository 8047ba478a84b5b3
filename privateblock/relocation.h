#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <vector>

namespace tarn::privateblock
{

/// The slot of a private element's block: the high byte of the element number (PS3.5 7.8.1).
Uint16 slotOf(const DcmTagKey& tag);

/// Gives `tag` an element number of our block, and our creator; its VR stays.
void retag(DcmTag& tag, Uint16 elementNumber);
void retag(DcmElement& element, Uint16 elementNumber);

/// Returns the elements of group F215 that lie in the blocks of `slots`; the item keeps owning them.
std::vector<DcmObject*> elementsIn(DcmItem& item, const std::vector<Uint16>& slots);

/// Moves `elements` of `item` into its block `block`, which is a slot shifted left by 8. Deletes those that have no
/// short key and those whose place is taken.
void moveInto(Uint16 block, DcmItem& item, const std::vector<DcmObject*>& elements);

} // namespace tarn::privateblock
