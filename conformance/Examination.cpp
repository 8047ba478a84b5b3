// One rule held against one presentation state.
#include "conformance/Examination.h"

#include "conformance/Rule.h"
#include "conformance/references.h"
#include "conformance/texts.h"

namespace tarn::conformance
{

Examination::Examination(DcmDataset& dataset, ImageSizes* sizes) : contents(dataset), sizes(sizes) {}

Examination::~Examination() = default;

template <class Value, class Make>
const Value& Examination::keep(Kept<Value>& kept, Make make)
{
  if (!kept.value)
  {
    TagSet askedBefore = contents.asked;
    contents.asked.clear();
    kept.value = std::make_unique<Value>(make());
    kept.asked = contents.asked;
    contents.asked = askedBefore;
  }
  contents.asked.add(kept.asked);
  return *kept.value;
}

template <class Value>
void Examination::forgetChanged(Kept<Value>& kept)
{
  if (kept.asked.meets(contents.changed))
    kept.value.reset();
}

const Manifest& Examination::manifest()
{
  return keep(keptManifest, [this] { return Manifest(root()); });
}

const std::vector<Text>& Examination::texts()
{
  return keep(keptTexts, [this] { return textsIn(root()); });
}

const std::vector<Placed>& Examination::objects(const DcmTagKey& sequence)
{
  const auto collect = [&]
  {
    std::vector<Placed> objects;
    for (const Placed& annotation : itemsOf(root(), DCM_GraphicAnnotationSequence))
      for (const Placed& object : itemsOf(annotation, sequence))
        objects.push_back(object);
    return objects;
  };
  return keep(keptObjects[numberOf(sequence)], collect);
}

void Examination::find(const Placed& where, const std::string& text, Remedy remedy)
{
  add(where, nullptr, text, std::move(remedy));
}

void Examination::find(const Placed& where, const DcmTagKey& tag, const std::string& text, Remedy remedy)
{
  add(where, &tag, text, std::move(remedy));
}

/// What is about to be mended needs no place.
void Examination::add(const Placed& where, const DcmTagKey* tag, const std::string& text, Remedy remedy)
{
  Finding finding{current->code, current->clause, current->level, "", text};
  if (!mends || !remedy)
    finding.at = tag ? placeOf(where, *tag) : placeOf(where);
  found.emplace_back(std::move(finding), std::move(remedy));
}

void Examination::hold(const Rule& rule)
{
  current = &rule;
  found.clear();
  contents.takeNote();
  rule.examine(*this);
}

std::vector<Finding> Examination::examine(const Rule& rule)
{
  mends = false;
  hold(rule);
  std::vector<Finding> findings;
  for (auto& [finding, remedy] : found)
    findings.push_back(std::move(finding));
  return findings;
}

/// Backwards: a remedy may remove an item, and with it nothing that an earlier one looks at.
std::size_t Examination::mend(const Rule& rule, std::vector<Finding>& left)
{
  mends = true;
  hold(rule);
  std::size_t mended = 0;
  for (auto place = found.rbegin(); place != found.rend(); ++place)
    if (place->second)
    {
      place->second();
      ++mended;
    }
    else
      left.push_back(std::move(place->first));
  if (contents.changed.isEmpty())
    return mended;
  forgetChanged(keptManifest);
  keptTexts.value.reset(); // one may have gone
  for (auto& [sequence, objects] : keptObjects)
    forgetChanged(objects);
  return mended;
}

} // namespace tarn::conformance
