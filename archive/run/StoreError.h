#pragma once

#include <stdexcept>
#include <string>

namespace tarn::archive
{

/// The disk, or the rights on the output folder, are such that nothing more can be written: the run ends, and no input
/// is blamed. what() is one line.
class StoreError : public std::runtime_error
{
public:
  StoreError(const std::string& what, int error) : std::runtime_error(what), error(error) {}

  const int error; ///< errno
};

/// Whether the error number says that no output can be written any more, rather than this one.
bool endsTheRun(int error);

} // namespace tarn::archive
