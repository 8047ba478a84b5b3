#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <bitset>

namespace tarn::conformance
{

/// Group and element as one number.
inline Uint32 numberOf(const DcmTagKey& tag)
{
  return static_cast<Uint32>(tag.getGroup()) << 16U | tag.getElement();
}

/// A set of attributes that may hold more than were added, and never less.
class TagSet
{
public:
  void add(const DcmTagKey& tag) { bits.set(placeOf(tag)); }
  /// Whatever attribute an element is of: asked for by who looks at each by itself, changed where one was put.
  void addAnyPut() { bits.set(placeOf(kAnyPut)); }
  void add(const TagSet& others) { bits |= others.bits; }
  void addAll() { bits.set(); }
  void clear() { bits.reset(); }
  bool has(const DcmTagKey& tag) const { return bits[placeOf(tag)]; }
  bool meets(const TagSet& others) const { return (bits & others.bits).any(); }
  bool isEmpty() const { return bits.none(); }

private:
  static constexpr std::size_t kPlaces = 256; // the rules ask for some hundred attributes

  static inline const DcmTagKey kAnyPut{0xFFFF, 0xFFFF};

  static std::size_t placeOf(const DcmTagKey& tag)
  {
    constexpr Uint32 kSpread = 2654435761U; // 2^32 by the golden ratio
    return numberOf(tag) * kSpread >> 24U;
  }

  std::bitset<kPlaces> bits;
};

} // namespace tarn::conformance
