#pragma once

#include "archive/journal/Record.h"

#include <array>
#include <cstdint>
#include <numeric>

namespace tarn::archive
{

/// What a run has counted so far.
struct RunTotals
{
  std::array<std::uint64_t, kOutcomes> outcomes{}; ///< of the inputs done in this run
  std::uint64_t passed = 0;                        ///< files and other things that are no presentation states
  std::uint64_t known = 0;                         ///< inputs that were done before
  std::uint64_t foreign = 0;                       ///< inputs of other shards
  std::uint64_t problems = 0;                      ///< folders that could not be read
  std::uint64_t expected = 0;                      ///< names on the lists; 0 where nobody knows

  std::uint64_t done() const { return std::accumulate(outcomes.begin(), outcomes.end(), std::uint64_t{0}); }
  std::uint64_t seen() const { return done() + passed + known + foreign; }
};

} // namespace tarn::archive
