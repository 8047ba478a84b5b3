// An index of a journal that fits into memory for millions of records.
#include "archive/journal/OffsetIndex.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace tarn::archive
{
namespace
{

constexpr std::size_t kSmallest = 16;
constexpr std::size_t kMask = 0xFFFF;

std::array<std::uint16_t, 3> packed(std::uint64_t bits)
{
  return {static_cast<std::uint16_t>(bits & kMask), static_cast<std::uint16_t>(bits >> 16U & kMask),
          static_cast<std::uint16_t>(bits >> 32U & kMask)};
}

std::uint64_t unpacked(const std::array<std::uint16_t, 3>& words)
{
  return words[0] | static_cast<std::uint64_t>(words[1]) << 16U | static_cast<std::uint64_t>(words[2]) << 32U;
}

/// The bits that a slot keeps. The lowest ones have chosen the table.
std::uint64_t keptBits(std::uint64_t hash)
{
  return hash >> 16U;
}

} // namespace

std::uint64_t OffsetIndex::hashOf(std::string_view name)
{
  return std::hash<std::string_view>()(name);
}

void OffsetIndex::Slot::set(std::uint64_t hash, std::uint64_t offset)
{
  hashBits = packed(keptBits(hash));
  offsetBits = packed(offset);
}

bool OffsetIndex::Slot::holds(std::uint64_t hash) const
{
  return hashBits == packed(keptBits(hash));
}

std::uint64_t OffsetIndex::Slot::offset() const
{
  return unpacked(offsetBits);
}

std::size_t OffsetIndex::Table::start(std::uint64_t hash) const
{
  return slots.empty() ? 0 : static_cast<std::size_t>(keptBits(hash) % slots.size());
}

void OffsetIndex::Table::insert(std::uint64_t hash, std::uint64_t offset)
{
  if (5 * (used + 1) > 4 * slots.size())
    grow();
  place(hash, offset);
  ++used;
}

void OffsetIndex::Table::place(std::uint64_t hash, std::uint64_t offset)
{
  std::size_t at = start(hash);
  while (isUsed(at))
    at = after(at);
  slots[at].set(hash, offset);
}

void OffsetIndex::Table::grow()
{
  const std::vector<Slot> before = std::exchange(slots, std::vector<Slot>(std::max(kSmallest, slots.size() * 5 / 4)));
  for (const Slot& slot : before)
    if (slot.offset() != kNone)
      place(unpacked(slot.hashBits) << 16U, slot.offset());
}

} // namespace tarn::archive
