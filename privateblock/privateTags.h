#pragma once

#include <string>

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

/// Moves the legacy elements of the archive's private group into the canonic block, in `item` and in every item of its
/// sequences. Returns false when an item has no room for the block; the other items are done all the same.
bool handlePrivateTags(DcmItem& item);

/// As handlePrivateTags, and moves what stands in slot 10 too where the block lies elsewhere.
bool handleCanonicAndOldPrivateTags(DcmItem& item);

/// Where `tag` is one of slot 10 of the archive's private group, turns it into the tag of the same short key in the
/// block of `item`; other tags stay. Returns false when the item has no room for the block.
bool checkAndUpdateCanonicPrivateTag(DcmItem& item, DcmTag& tag);

/// handlePrivateTags on a DICOM file, in place: the file is replaced only when the new one is complete, in its own
/// transfer syntax. Returns the condition of loading or saving, or EC_PBPrivateTagProblem.
OFCondition convertFilePrivateTags(const std::string& path);
