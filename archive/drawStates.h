#pragma once

#include <string>
#include <vector>

namespace tarn::archive
{

/// What `annomend-archive picture` is to do.
struct DrawRequest
{
  std::vector<std::string> paths; ///< STATE and perhaps IMAGE; with a folder states, and folders that are walked
  std::string file;               ///< the one picture goes there
  std::string folder;             ///< or all pictures below there
  std::string images;             ///< where images are looked for besides the data repository
  unsigned size = 512;
  unsigned reference = 1;
};

/// Draws one state, or many. Returns the exit status.
int drawStates(const DrawRequest& request);

} // namespace tarn::archive
