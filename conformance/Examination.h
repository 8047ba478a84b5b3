#pragma once

#include "conformance/Contents.h"
#include "conformance/Finding.h"
#include "conformance/ImageSizes.h"
#include "conformance/items.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tarn::conformance
{

class Manifest;
struct Rule;
struct Text;

/// A presentation state while one rule after the other is held against it.
class Examination
{
public:
  using Remedy = std::function<void()>;

  /// Borrows both; `sizes` may be null.
  Examination(DcmDataset& dataset, ImageSizes* sizes);
  ~Examination();

  /// The data set as an item without a place.
  Placed root() { return contents.root(); }
  /// The size of an image; nothing where it is not known.
  std::optional<ImageSize> sizeOf(const std::string& sopInstanceUid)
  {
    return sizes ? sizes->find(sopInstanceUid) : std::nullopt;
  }

  // What several rules look at, collected once.

  /// The images that the state refers to.
  const Manifest& manifest();
  /// The texts of the data set and of all items in it, each of which a rule judges by itself.
  const std::vector<Text>& texts();
  /// The items of a sequence of all annotation items: Graphic Objects, Text Objects or Compound Graphics.
  const std::vector<Placed>& objects(const DcmTagKey& sequence);

  /// The rule is broken in the item `where`, or in its element `tag`; `remedy` mends it, and may be empty.
  void find(const Placed& where, const std::string& text, Remedy remedy = {});
  void find(const Placed& where, const DcmTagKey& tag, const std::string& text, Remedy remedy = {});

  /// Holds the rule against the state. Returns the findings.
  std::vector<Finding> examine(const Rule& rule);
  /// The same, and mends what it finds. Findings without a remedy are appended to `left`. Returns how many were mended.
  std::size_t mend(const Rule& rule, std::vector<Finding>& left);

  /// What the last rule asked for, and what its remedies changed.
  const TagSet& asked() const { return contents.asked; }
  const TagSet& changed() const { return contents.changed; }

private:
  /// Something that was collected, and what was asked for in doing so.
  template <class Value>
  struct Kept
  {
    std::unique_ptr<Value> value;
    TagSet asked;
  };

  template <class Value, class Make>
  const Value& keep(Kept<Value>& kept, Make make);
  template <class Value>
  void forgetChanged(Kept<Value>& kept);
  void add(const Placed& where, const DcmTagKey* tag, const std::string& text, Remedy remedy);
  void hold(const Rule& rule);

  StateContents contents;
  ImageSizes* sizes;
  const Rule* current = nullptr;
  bool mends = false;
  std::vector<std::pair<Finding, Remedy>> found;
  Kept<Manifest> keptManifest;
  Kept<std::vector<Text>> keptTexts;
  std::map<Uint32, Kept<std::vector<Placed>>> keptObjects; ///< by the tag of their sequence
};

} // namespace tarn::conformance
