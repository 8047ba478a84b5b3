#pragma once

#include "conformance/Finding.h"
#include "conformance/ImageSizes.h"
#include "conformance/ItemCache.h"
#include "conformance/items.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace tarn::conformance
{

struct Rule;

/// A presentation state while one rule is held against it.
class Examination
{
public:
  using Remedy = std::function<void()>;

  /// Borrows both; `sizes` may be null.
  Examination(DcmDataset& dataset, ImageSizes* sizes) : dataset(dataset), sizes(sizes) {}

  /// The data set as an item without a place.
  Placed root() { return {dataset, nullptr, 0, &cache}; }
  /// The size of an image; nothing where it is not known.
  std::optional<ImageSize> sizeOf(const std::string& sopInstanceUid)
  {
    return sizes ? sizes->find(sopInstanceUid) : std::nullopt;
  }

  /// The rule is broken in the item `where`, or in its element `tag`; `remedy` mends it, and may be empty.
  void find(const Placed& where, const std::string& text, Remedy remedy = {});
  void find(const Placed& where, const DcmTagKey& tag, const std::string& text, Remedy remedy = {});

  /// Holds the rule against the state. Returns the findings.
  std::vector<Finding> examine(const Rule& rule);
  /// The same, and mends what it finds. Findings without a remedy are appended to `left`. Returns how many were mended.
  std::size_t mend(const Rule& rule, std::vector<Finding>& left);

private:
  DcmDataset& dataset;
  ImageSizes* sizes;
  const Rule* current = nullptr;
  ItemCache cache;
  std::vector<std::pair<Finding, Remedy>> found;
};

} // namespace tarn::conformance
