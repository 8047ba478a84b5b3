#pragma once

#include "conformance/Examination.h"

#include <memory>
#include <unordered_map>
#include <vector>

/// The objects of the Graphic Annotation Module (PS3.3 C.10.5), for the rules about them.
namespace tarn::conformance
{

const std::vector<Placed>& annotationsOf(Examination& state);
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
  struct Replacement
  {
    Contents* contents; ///< of the item that goes
    Items items;        ///< in its place
  };

  void apply();

  std::size_t promised = 0; ///< remedies that have not run
  std::unordered_map<const DcmItem*, Replacement> replacements;
};

} // namespace tarn::conformance
