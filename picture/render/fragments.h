#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <string>

namespace tarn::picture
{

/// The fragments of a frame in one piece (PS3.5 A.4); empty where it cannot be told which they are, and where there are
/// more than `most`.
std::string codestreamOf(DcmDataset& image, unsigned long frame, unsigned long most);

/// Whether the toolkit can decode a frame within its bounds: the codestream announces what the image's header does, and
/// refers to no place beyond itself. Of JPEG 2000 nothing is asked.
bool isSound(DcmDataset& image, unsigned long frame);

} // namespace tarn::picture
