#pragma once

#include "conformance/Examination.h"

#include <string>
#include <unordered_map>
#include <set>
#include <vector>

namespace tarn::conformance
{

/// An image that is referred to (PS3.3 table 10-3).
struct Reference
{
  Placed where;
  std::string sopClass;
  std::string uid;
  std::set<double> frames; ///< empty: all of them
};

/// What the items of a Referenced Image Sequence refer to; nothing where there is no item.
std::vector<Reference> referencesOf(const Placed& item);

/// The images of a presentation state (PS3.3 C.11.11), which its areas, windows and annotations may choose from.
class Manifest
{
public:
  explicit Manifest(const Placed& root);

  const std::vector<Reference>& images() const { return all; }
  /// The one image of the state; null where it has several, or none.
  const Reference* only() const { return all.size() == 1 ? &all.front() : nullptr; }
  /// Null for an image that the state does not refer to.
  const Reference* find(const std::string& uid) const;

private:
  std::vector<Reference> all;
  std::unordered_map<std::string, std::size_t> byUid;
};

/// Which frames of which images the items of a sequence hold for.
class Claims
{
public:
  /// Adds what an item holds for; nothing referred to means every image. Returns false, and adds nothing, where an item
  /// before it holds for one of them already.
  bool add(const std::vector<Reference>& images);
  bool covers(const std::string& uid) const { return everything || claimed.count(uid) > 0; }

private:
  bool everything = false;
  std::unordered_map<std::string, std::set<double>> claimed; ///< no frame: all of them
};

/// Whether images of the class have frames: PS3.3 table 10-3 asks for Referenced Frame Number there alone.
bool isMultiFrame(const std::string& sopClass);

} // namespace tarn::conformance
