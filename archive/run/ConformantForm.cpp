// The conformant form of an output, and what is known of its image.
#include "archive/run/ConformantForm.h"

#include "conformance/conform.h"
#include "conformance/references.h"
#include "images/ObjectInfo.h"

namespace tarn::archive
{
namespace
{

/// The size of the one image that an output refers to.
class OutputImage : public conformance::ImageSizes
{
public:
  OutputImage(images::ImageFiles& files, const impsconverter::ObjectInfo& image) : files(files), image(image) {}

  std::optional<conformance::ImageSize> find(const std::string& sopInstanceUid) override
  {
    if (sopInstanceUid != image.sopInstanceUid)
      return std::nullopt;
    // What the object table does not say counts as 1.
    const bool knowsSize = image.columns > 1 && image.rows > 1;
    const bool knowsFrames = image.frames > 1 || !conformance::isMultiFrame(image.sopClassUid);
    if (knowsSize && knowsFrames)
      return conformance::ImageSize{image.columns, image.rows, image.frames};
    if (const auto& header = files.find(image.studyKey, image.objectName, sopInstanceUid))
      return conformance::ImageSize{header->columns, header->rows, header->frames};
    return knowsSize ? std::make_optional(conformance::ImageSize{image.columns, image.rows, 0}) : std::nullopt;
  }

private:
  images::ImageFiles& files;
  const impsconverter::ObjectInfo& image;
};

} // namespace

void ConformantForm::apply(DcmDataset& dataset, const impsconverter::ObjectInfo& image, Remedies& remedies,
                           impsconverter::OutputRefusal& refusal)
{
  OutputImage size(files, image);
  const conformance::Conformed result = conformance::makeConformant(dataset, &size);
  for (const auto& [code, count] : result.remedies)
    remedies[code] += count;
  if (!result.left.empty())
    refusal = {result.left.front().code, image.objectName};
}

} // namespace tarn::archive
