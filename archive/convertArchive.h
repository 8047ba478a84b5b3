#pragma once

#include "archive/run/InputConverter.h"
#include "archive/run/Placement.h"
#include "archive/run/Progress.h"
#include "archive/run/Source.h"

#include <cstdint>
#include <optional>
#include <string>

namespace tarn::archive
{

/// What `convert` is asked for.
struct ConvertRequest
{
  std::string out; ///< the output folder
  SourceOptions source;
  ConvertOptions options;
  std::string form = "plain";
  Again again = Again::changed;
  bool dryRun = false;
  unsigned workers = 1;
  int timeout = 300;                              ///< seconds an input
  std::uint64_t memory = std::uint64_t{4} << 30U; ///< bytes a worker, beyond what it begins with; 0: no bound
  std::optional<Progress::Form> progress;         ///< nothing: as suits standard error
};

/// Converts what the request names, and returns the exit status.
int convertArchive(ConvertRequest request);

} // namespace tarn::archive
