#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace tarn::archive
{

/// Places in a journal by the hash of a name, 12 bytes each and some room to grow: the names themselves stay in the
/// journal. Several names may have one hash; whoever asks compares the name that stands at the place.
class OffsetIndex
{
public:
  static constexpr std::uint64_t kNone = (std::uint64_t{1} << 48U) - 1; ///< no place; a journal is shorter

  /// Notes that the entry of `name` stands at `offset`, below kNone. Where `isSame(offset)` says of a noted place that
  /// it holds an entry of the same name, that place is replaced.
  template <class IsSame>
  void put(std::string_view name, std::uint64_t offset, IsSame isSame)
  {
    const std::uint64_t hash = hashOf(name);
    Table& table = tableOf(hash);
    for (std::size_t at = table.start(hash); table.isUsed(at); at = table.after(at))
      if (table.slots[at].holds(hash) && isSame(table.slots[at].offset()))
      {
        table.slots[at].set(hash, offset);
        return;
      }
    table.insert(hash, offset);
  }

  /// The place of the entry of `name`: the first noted one of which `isSame` says so; kNone when there is none.
  template <class IsSame>
  std::uint64_t find(std::string_view name, IsSame isSame) const
  {
    const std::uint64_t hash = hashOf(name);
    const Table& table = tableOf(hash);
    for (std::size_t at = table.start(hash); table.isUsed(at); at = table.after(at))
      if (table.slots[at].holds(hash) && isSame(table.slots[at].offset()))
        return table.slots[at].offset();
    return kNone;
  }

  /// Whether the place of the entry of `name` is `offset`.
  bool holds(std::string_view name, std::uint64_t offset) const
  {
    return find(name, [offset](std::uint64_t place) { return place == offset; }) != kNone;
  }

private:
  /// 48 bits of the hash and 48 of the offset.
  struct Slot
  {
    std::array<std::uint16_t, 3> hashBits{0xFFFF, 0xFFFF, 0xFFFF};
    std::array<std::uint16_t, 3> offsetBits{0xFFFF, 0xFFFF, 0xFFFF}; ///< kNone: the slot is free

    void set(std::uint64_t hash, std::uint64_t offset);
    bool holds(std::uint64_t hash) const;
    std::uint64_t offset() const;
  };

  /// One of several small tables, so that growing never copies everything at once. Linear probing.
  struct Table
  {
    std::vector<Slot> slots;
    std::size_t used = 0;

    std::size_t start(std::uint64_t hash) const;
    std::size_t after(std::size_t at) const { return at + 1 == slots.size() ? 0 : at + 1; }
    bool isUsed(std::size_t at) const { return !slots.empty() && slots[at].offset() != kNone; }
    void insert(std::uint64_t hash, std::uint64_t offset);
    void place(std::uint64_t hash, std::uint64_t offset);
    void grow();
  };

  static constexpr std::size_t kTables = 256;

  static std::uint64_t hashOf(std::string_view name);
  Table& tableOf(std::uint64_t hash) { return tables[hash % kTables]; }
  const Table& tableOf(std::uint64_t hash) const { return tables[hash % kTables]; }

  std::array<Table, kTables> tables;
};

} // namespace tarn::archive
