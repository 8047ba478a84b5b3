#pragma once

#include "archive/journal/Record.h"

#include <cstdint>
#include <queue>
#include <string>

namespace tarn::archive
{

/// A sample, drawn at random, of the inputs that have outputs. It depends on the seed and the names of these inputs
/// alone, and not on the order in which they are offered; what is held is a number for each input that is drawn.
class Sample
{
public:
  Sample(std::uint64_t size, std::uint64_t seed) : size(size), seed(std::to_string(seed)) {}

  void offer(const Record& record);
  /// Whether the input is drawn, once all have been offered.
  bool has(const Record& record) const;

  std::uint64_t drawn() const { return least.size(); }
  std::uint64_t offered() const { return all; }

private:
  std::uint64_t rankOf(const Record& record) const;

  std::uint64_t size;
  std::string seed;
  std::uint64_t all = 0;
  std::priority_queue<std::uint64_t> least; ///< ranks of those that are drawn, the greatest on top
};

} // namespace tarn::archive
