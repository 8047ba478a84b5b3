#pragma once

#include "archive/journal/Record.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>

namespace tarn::archive
{

/// What records add up to. Lines read are lines written and lines lost, for each kind and in all, and the lines lost
/// are those of the reasons.
struct Totals
{
  struct Kind
  {
    std::uint64_t inputs = 0; ///< that have lines of the kind
    Tally lines;
  };
  struct Cause
  {
    std::uint64_t inputs = 0;  ///< that have the reason
    std::uint64_t entries = 0; ///< how often it stands in the records
    std::uint64_t lines = 0;   ///< annotation lines that are lost with it, or what the code says
  };

  void add(const Record& record);

  std::uint64_t inputs = 0;
  std::array<std::uint64_t, kOutcomes> outcomes{};
  std::map<std::string, Kind> kinds;
  std::map<std::string, Cause> reasons; ///< by code
  std::uint64_t outputs = 0;            ///< files, each once
  std::uint64_t bytes = 0;
};

} // namespace tarn::archive
