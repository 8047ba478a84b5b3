#include "fuzz/Fuzzing.h"

#include "conformance/conform.h"
#include "dicom/loadFile.h"

#include <algorithm>

namespace
{

using fuzzing::expect;
using tarn::conformance::Finding;
using tarn::conformance::ImageSize;

/// Knows images by the end of their UIDs.
class SomeSizes : public tarn::conformance::ImageSizes
{
public:
  std::optional<ImageSize> find(const std::string& sopInstanceUid) override
  {
    const bool isKnown = !sopInstanceUid.empty() && sopInstanceUid.back() % 2 == 0;
    return isKnown ? std::make_optional(ImageSize{512, 256, 3}) : std::nullopt;
  }
};

bool hasErrors(const std::vector<Finding>& findings)
{
  return std::any_of(findings.begin(), findings.end(),
                     [](const Finding& finding) { return finding.level == tarn::conformance::Level::error; });
}

} // namespace

/// Holds the rules against an object of any bytes, and mends it: what has nothing left is conformant, and stays as it
/// is.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t length)
{
  const fuzzing::MemoryFile input(bytes, length);
  DcmFileFormat file;
  if (tarn::dicom::loadFile(file, input.path()).bad())
    return 0;
  SomeSizes sizes;
  DcmDataset& dataset = *file.getDataset();
  static_cast<void>(tarn::conformance::check(dataset, &sizes));
  const bool isConformant = tarn::conformance::makeConformant(dataset, &sizes).left.empty();
  expect(!isConformant || !hasErrors(tarn::conformance::check(dataset, &sizes)), "what was mended has no error");
  expect(!isConformant || tarn::conformance::makeConformant(dataset, &sizes).remedies.empty(),
         "what is conformant stays as it is");
  return 0;
}
