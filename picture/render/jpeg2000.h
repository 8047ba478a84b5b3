#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <memory>
#include <string>

namespace tarn::picture
{

/// Whether the toolkit, which has no decoder for it, needs decodeJpeg2000().
bool isJpeg2000(E_TransferSyntax syntax);

/// A copy of the image that holds one of its frames, decoded (PS3.5 A.4.4). Null, with the reason, where the frame is
/// damaged, or not what the image's header announces.
std::unique_ptr<DcmDataset> decodeJpeg2000(DcmDataset& image, unsigned long frame, std::string& reason);

} // namespace tarn::picture
