#pragma once

#include "archive/inputs/studyInputs.h"
#include "archive/run/Frames.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace tarn::archive
{

/// Where the inputs of a run come from, as the command line says it.
struct SourceOptions
{
  std::vector<std::string> paths;       ///< files, and folders that are walked
  std::optional<std::string> filesFrom; ///< a file of names, "-" for standard input
  bool nulTerminated = false;           ///< its names end with a NUL instead of a line feed
  std::optional<std::string> inventory; ///< what `find` wrote
  StudySelection studies;               ///< of the object table; its shard is that of the inventory too
  std::string leaveOut;                 ///< a folder that is not walked, absolute; empty for none
};

/// Frames from a source to the run.
namespace fromSource
{
constexpr char kFound = 'n';    ///< a path that a walk found
constexpr char kListed = 'l';   ///< a path that was named
constexpr char kChosen = 'c';   ///< a path that was named, of this shard whatever is found there
constexpr char kRecord = 'r';   ///< a packed record, of an input that need not be opened
constexpr char kOther = 'o';    ///< how many things were met that are no files
constexpr char kExpected = 'x'; ///< how many names a list has
constexpr char kProblem = 'p';  ///< a line: something could not be looked into
constexpr char kFailure = 'f';  ///< an exit status, a blank, and the line that says why nothing more comes
constexpr char kEnd = 'e';      ///< all is said
} // namespace fromSource

/// A process that finds the inputs of a run, ahead of it by what a pipe holds: a slow folder holds nothing else up.
class Source
{
public:
  /// Forks. Throws std::system_error.
  explicit Source(const SourceOptions& options);
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  ~Source();

  const base::Fd& fd() const { return frames.fd(); }
  [[nodiscard]] bool receive() { return frames.receive(); }
  std::optional<Frame> next() { return frames.next(); }
  void closePipe() { frames = FrameReader(base::Fd()); }

private:
  pid_t pid = -1;
  FrameReader frames{base::Fd()};
};

} // namespace tarn::archive
