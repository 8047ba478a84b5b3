#pragma once

#include "conformance/Examination.h"

#include <memory>
#include <unordered_map>
#include <vector>

/// The objects of the Graphic Annotation Module (PS3.3 C.10.5), for the rules about them.
namespace tarn::conformance
{

std::vector<Placed> annotationsOf(Examination& state);
/// The items of a sequence of all annotation items: Graphic Objects, Text Objects or Compound Graphics.
std::vector<Placed> objectsOf(Examination& state, const DcmTagKey& sequence);

/// The values of an element of the VR FL, or of one whose bytes are those of that VR: UN and OF. None where there is
/// none, or it has another VR or a length that does not fit.
std::vector<Float32> coordinatesOf(const Placed& where, const DcmTagKey& tag);
bool areFinite(const std::vector<Float32>& values);

/// Whether the outline of a graphic object encloses an area: PS3.3 C.10.5, Graphic Filled.
bool isClosed(const Placed& graphic);

/// Objects that remedies take out of their sequences, or put others in the place of. Each sequence is gone through once
/// for all of them, when the last remedy runs: the toolkit finds an item by counting from the first.
class Replacements : public std::enable_shared_from_this<Replacements>
{
public:
  using Items = std::vector<std::unique_ptr<DcmItem>>;

  static std::shared_ptr<Replacements> make() { return std::make_shared<Replacements>(); }

  /// A remedy that puts what `become` returns, which may be nothing, in the place of the item.
  Examination::Remedy remedy(const Placed& object, std::function<Items()> become);
  Examination::Remedy drop(const Placed& object);

private:
  void apply();

  std::size_t promised = 0; ///< remedies that have not run
  std::unordered_map<const DcmItem*, Items> replacements;
};

} // namespace tarn::conformance
