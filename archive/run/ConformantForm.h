#pragma once

#include "conformance/ImageSizes.h"
#include "converter/OutputSink.h"
#include "db/DBConnector.h"
#include "images/ImageFiles.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <cstdint>
#include <map>
#include <string>

namespace tarn::archive
{

/// Makes outputs conformant. The size of an image is that of the object table; where that does not say it, or may not
/// say how many frames there are, the image's file is read.
class ConformantForm
{
public:
  using Remedies = std::map<std::string, std::uint64_t>; ///< how often each was applied, by code

  /// Borrows `db`; `imagesFolder` may be empty.
  ConformantForm(db::DBConnector& db, const std::string& imagesFolder) : files(db, imagesFolder) {}

  /// Mends the dataset of an output, and adds to `remedies`. Fills `refusal` where it cannot be made conformant.
  void apply(DcmDataset& dataset, const impsconverter::ObjectInfo& image, Remedies& remedies,
             impsconverter::OutputRefusal& refusal);

private:
  images::ImageFiles files;
};

} // namespace tarn::archive
