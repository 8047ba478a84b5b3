#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include <sys/types.h>

namespace tarn::archive
{

/// Where a walk tells what it finds.
struct WalkSink
{
  std::function<void(const std::string& path)> file;    ///< a regular file, or a link to something
  std::function<void()> other;                          ///< a FIFO, socket or device
  std::function<void(const std::string& line)> problem; ///< a folder that cannot be read
};

/// Walks folders depth first, in the order in which the system lists them, in memory for one path. Links to folders are
/// followed where they are named, and nowhere else.
class FolderWalk
{
public:
  explicit FolderWalk(WalkSink sink) : sink(std::move(sink)) {}

  /// Leaves this folder out, wherever it is met; it need not exist.
  void leaveOut(const std::string& folder);

  /// `path` is a file or a folder; a missing one is given to the sink as a file, for whoever opens it to tell.
  void walk(const std::string& path);

private:
  class Folder;
  void walkFolder(int parent, const char* name, const std::string& path, bool follow);
  void visit(int folder, const std::string& path, const char* name, unsigned char type);

  WalkSink sink;
  dev_t leftOutDevice = 0;
  ino_t leftOutInode = 0;
  int depth = 0;
};

} // namespace tarn::archive
