#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <unordered_map>
#include <vector>

namespace tarn::conformance
{

/// The elements of items as they were when somebody first asked: the toolkit's lists are slow to search, and a hundred
/// rules ask. While something is mended it does not answer.
class ItemCache
{
public:
  /// The element of the item; null where it has none.
  DcmElement* find(DcmItem& item, const DcmTagKey& tag);
  /// The elements of the item, in their order.
  std::vector<DcmElement*> elementsOf(DcmItem& item);

  /// For a remedy: until resume() every question goes to the item itself.
  void suspend() { suspended = true; }
  /// What was known is forgotten where something has `changed`.
  void resume(bool changed);

private:
  struct Contents
  {
    std::vector<Uint32> tags; ///< group and element, of the elements
    std::vector<DcmElement*> elements;
  };

  const Contents& of(DcmItem& item);

  std::unordered_map<const DcmItem*, Contents> items;
  bool suspended = false;
};

} // namespace tarn::conformance
