#pragma once

#include <cstddef>

namespace tarn::tools
{

/// A progress bar on consoleError(), which is drawn in place at most a hundred times. The destructor empties the line.
class Progress
{
public:
  /// Draws nothing unless `shown` is set.
  Progress(std::size_t total, bool shown);
  ~Progress() { clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Counts one more file as done.
  void step();
  /// Empties the line for a message. The next change draws the bar again.
  void clear();

  /// Whether somebody sees the bar: consoleError() is standard error, and that is a terminal.
  static bool isSeen();

private:
  void draw() const;

  std::size_t total;
  std::size_t done = 0;
  std::size_t drawnPercent = 0;
  bool shown;
};

} // namespace tarn::tools
